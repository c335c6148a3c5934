#pragma once

#include <memory>

#include <QObject>
#include <QString>
#include <QStringList>

#include "chat/ChatColours.h"

// One chat with the operators of a session, and its window.
//
// The agent makes one for each chat that the service announces and lists it; the agent owns it. It
// stays listed when the person closes the window by its title bar, and the service can bring that
// window back; the Quit button also takes it off the list and ends its life. Whoever ends the chat,
// the window stays, to be read, until the person closes it.
//
// Main thread. What moves the transcript or the window takes effect later, in the order of the
// calls.
class ChatController : public QObject {
public:
    explicit ChatController(QObject* parent = nullptr);
    // Takes the chat off the agent's list.
    ~ChatController() override;

    // Whether the person can see the window: a minimised one is not visible.
    [[nodiscard]] bool isVisible() const;
    // Brings the window up because of what the service reports. At once.
    void presentByService();

    // Once, after the chat was made: which chat it is. Announces the first operator of the sessions
    // in the status window, whoever that is.
    void set(qint32 token, qint32 session);
    void joinedMember(const QString& name);
    // Only the first departure is ever shown; the flag is set at once.
    void leftMember(const QString& name);
    // Shows a departure some time after it was reported.
    void leftMemberLater(const QString& name);
    // A hidden window drops what it receives.
    void receiveChat(const QString& name, const QString& text);
    // Makes the window visible again, from its icon or after it was closed.
    void wakeUp();
    // Reads the texts anew and puts the keyboard into the message field. At once.
    void refresh();
    // Adds an entry to the transcript, under a header where somebody else speaks than before. A
    // notice has no sender.
    void displayMessage(const QString& sender, const QString& message, bool left, ChatColour color);
    // Ends the chat: nothing more can be written, and unless somebody has left already, the
    // operator with whom it was opened is shown as having left.
    void end();

    // What the window reports.
    void windowDidLoad();
    void windowWillClose();
    void controlTextDidChange();
    void QuitAction();
    void SendAction();

    qint32 token = 0;
    qint32 session = 0;
    QStringList members; // each once, in the order in which they came
    QString lastUser;    // whose header was shown last
    QString from;        // with whom the chat was opened
    // Nobody ever sets it, so the announcement in set() always happens: that is meant.
    bool joined = false;
    // Has one writer, leftMember(): set any earlier, the notice could never come. The name is
    // misspelt for good: it is part of the interface.
    bool leaved = false;
    bool logoChanged = false;

private:
    class Window;

    void display(const QString& sender, const QString& message, bool left, ChatColour color);
    void showMembers();
    void allowToLeave(bool isAllowed);

    std::unique_ptr<Window> m_window;
};

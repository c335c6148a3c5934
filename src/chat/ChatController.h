#pragma once

#include "chat/ChatTranscript.h"
#include "localisation/Translate.h"
#include "window_kit/AgentWindow.h"

#include <QString>
#include <QStringList>
#include <QWidget>

// One chat with the operators of a session: its window.
//
// A window that the user closes by its title bar comes back with the next line; after the Quit
// button the owner deletes the chat. When the chat ends, its window stays, to be read, until the
// user closes it. Main thread.
class ChatController : public AgentWindow<QWidget, class Ui_ChatController> {
    Q_OBJECT

public:
    // `allowToLeave`: whether the user may close the window before somebody has left.
    ChatController(LabelSource labels, bool allowToLeave);

    // Brings the window up for the first time, beside the other chats. `isAskedFor`: by the user,
    // who waits for it.
    void presentBesideOthers(bool isAskedFor);

    // Whether nothing more can be written.
    [[nodiscard]] bool hasEnded() const;

    // Called once, after construction: the chat's and the session's numbers, and the operator's
    // name, whose joining is announced.
    void set(qint32 token, qint32 session, const QString& from);
    void joinedMember(const QString& name);
    // Only the first departure is ever shown; the flag is set at once.
    void leftMember(const QString& name);
    // Shows a departure some time after it was reported.
    void leftMemberLater(const QString& name);
    // A hidden window drops what it receives.
    void receiveChat(const QString& name, const QString& text);
    // Makes the window visible again, from its icon or after it was closed.
    void wakeUp();
    // Reads the texts anew and puts the keyboard into the message field.
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
    void controlTextDidChange(); // cuts what is too long; the caret stays
    void QuitAction();
    void SendAction();

    qint32 token = 0;
    qint32 session = 0;
    QStringList members; // each once, in the order in which they came
    QString lastUser;    // whose header was shown last
    QString from;        // with whom the chat was opened
    // Nobody ever sets it, so set() always announces the operator, on purpose.
    bool joined = false;
    // Has one writer, leftMember(): set any earlier, the notice could never come. The name is
    // misspelt on purpose: it is part of the interface.
    bool leaved = false;

Q_SIGNALS:
    // A line that the user has sent; at most 128 characters.
    void lineEntered(const QString& text);
    // The user has closed the window, by the title bar or the Quit button.
    void closed();
    // The Quit button, after closed().
    void quit();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void showMembers();
    void allowToLeave(bool isAllowed);

    const bool m_allowToLeave;
};

#pragma once

#include <memory>

#include <QObject>
#include <QPointer>
#include <QString>

#include "localisation/Translate.h"

class QTimer;

// The window of one message that was pushed to this machine: who sent it and when it came, its kind
// and text, and the seconds until it closes by itself. Nothing is ever sent back.
//
// Each message has its own. Whoever makes one appends it to AppDelegate::messageInbox and fills it
// once. When the message is closed it takes itself off that list and is deleted from the event
// loop; one that stays open goes with its parent. Main thread.
class MessageInbox : public QObject {
public:
    explicit MessageInbox(QObject* parent);
    ~MessageInbox() override;

    // Fills the window. `timeout` is in seconds, below one the message stays until the person
    // closes it; the kind is one of MessageKind's numbers.
    void set(const QString& from, const QString& text, qint64 timeout, qint64 iconValue);
    // Brings it up, deaf to the keyboard for its first moments, beside the other messages.
    void present();

    // Puts one language's texts in place.
    void translate(const JsonData::Info& data);
    // The count-down's tick.
    void changeMessage();
    // Closes the message.
    void stopMessage();
    // The button.
    void QuitAction();

    QPointer<QTimer> timer;
    qint64 timeout = 0; // seconds left
    bool logoChanged = false;

private:
    class Window;

    void windowDidLoad();
    void showCountDown(const JsonData::Info& data);

    std::unique_ptr<Window> m_window;
};

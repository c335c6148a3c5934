#pragma once

#include <QObject>
#include <QString>

// One chat with the operators of a session. There is no chat window yet: nothing makes a chat.
class ChatController : public QObject {
public:
    // Ends the chat: nothing more can be written, and unless somebody has left already, the
    // operator with whom it was opened is shown as having left.
    void end() {}
    void joinedMember(const QString&) {}
    void leftMemberLater(const QString&) {}
    void receiveChat(const QString&, const QString&) {}
    void wakeUp() {}

    qint32 token = 0;
    qint32 session = 0;
};

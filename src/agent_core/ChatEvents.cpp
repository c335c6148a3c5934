#include "agent_core/AppDelegate.h"

#include "chat/ChatController.h"
#include "platform/MainQueue.h"

void AppDelegate::endChats(std::optional<qint64> session)
{
    MainQueue::assertMainThread();
    for (ChatController* const chat : chats) {
        if (!session || chat->session == *session) {
            chat->end();
        }
    }
}

void AppDelegate::wakeChats(qint64 token)
{
    for (ChatController* const chat : chats) {
        if (chat->token == token) {
            chat->wakeUp();
        }
    }
}

void AppDelegate::receiveChat(const ChatMessage& message)
{
    for (ChatController* const chat : chats) {
        if (chat->token == message.context) {
            chat->wakeUp();
            chat->receiveChat(message.from, message.text);
        }
    }
}

void AppDelegate::chatMemberJoined(const ChatMember& member)
{
    for (ChatController* const chat : chats) {
        if (chat->token == member.context) {
            chat->wakeUp();
            chat->joinedMember(member.member);
        }
    }
}

void AppDelegate::chatMemberLeft(const ChatMember& member)
{
    for (ChatController* const chat : chats) {
        if (chat->token == member.context) {
            chat->wakeUp();
            chat->leftMemberLater(member.member);
        }
    }
}

#include "agent_core/AppDelegate.h"

#include "chat/ChatController.h"
#include "platform/threads/MainQueue.h"
#include "windows/ConnectionStatus.h"

void AppDelegate::requestChat(qint32 token, qint32 session)
{
    MainQueue::post([token, session] {
        if (isTerminating()) {
            return;
        }
        // The delegate's, by way of what the delegate owns, as its timers are.
        auto* const chat = new ChatController(connectionStatus);
        chats.append(chat);
        chat->set(token, session);
        chat->refresh();
        chat->presentByService();
    });
}

void AppDelegate::closeChat(qint32 token)
{
    MainQueue::post([token] {
        for (ChatController* const chat : chats) {
            if (chat->token == token) {
                chat->end();
            }
        }
    });
}

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

#include "agent_core/Names.h"
#include "agent_state/AppDelegate.h"
#include "chat/ChatController.h"
#include "logging/Logs.h"
#include "service_link/Protocol.h"
#include "windows/ConnectionStatus.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

// More windows than that help nobody, and each costs memory.
constexpr qsizetype kMostChats = 20;

// How long a chat that the user has asked for comes up as theirs.
constexpr std::chrono::seconds kAwaited(30);

// A copy: a chat that is closed while it is walked changes the list.
QList<ChatController*> chatsOf(qint64 token)
{
    QList<ChatController*> found = AppDelegate::state().chats;
    found.removeIf([token](const ChatController* chat) { return chat->token != token; });
    return found;
}

void sendLine(qint32 token, const QString& text)
{
    // The format can't hold half a surrogate pair.
    if (!text.isValidUtf16()) {
        printErrorLog(u"the message is not valid Unicode text"_s);
        return;
    }
    const QJsonObject data{{u"token"_s, token}, {u"message"_s, text}};
    AppDelegate::send(
        Protocol::sendChat(QString::fromUtf8(QJsonDocument(data).toJson(QJsonDocument::Compact))));
}

void reportClosed(qint32 token)
{
    printLog(u"close chat: "_s + QString::number(token));
    AppDelegate::send(Protocol::message(Protocol::kCloseChat, token));
}

// Takes away every window of the chat. Each may be in the middle of its button's click.
void removeChat(qint32 token)
{
    for (ChatController* const chat : chatsOf(token)) {
        AppDelegate::state().chats.removeAll(chat);
        chat->deleteLater();
    }
}

// If the limit is reached, removes all windows of a chat that has ended, else of one that the user
// has closed. False if there is neither.
bool evictChatIfFull()
{
    const QList<ChatController*>& chats = AppDelegate::state().chats;
    if (chats.size() < kMostChats) {
        return true;
    }
    for (const bool mustHaveEnded : {true, false}) {
        for (const ChatController* const chat : chats) {
            const auto windows = chatsOf(chat->token);
            const auto canGo = [mustHaveEnded](const ChatController* window) {
                return (mustHaveEnded ? window->hasEnded() : !window->isVisible()) &&
                       !window->isActiveWindow();
            };
            if (std::ranges::all_of(windows, canGo)) {
                if (chat->isVisible()) {
                    reportClosed(chat->token); // else the service has been told
                }
                removeChat(chat->token);
                return true;
            }
        }
    }
    return false;
}

} // namespace

void AppDelegate::askForChat(qint64 session)
{
    state().awaitedChats.insert(session, QDeadlineTimer(kAwaited));
    send(Protocol::message(Protocol::kChatRequest, session));
}

void AppDelegate::requestChat(qint32 token, qint32 session)
{
    if (!evictChatIfFull()) {
        printErrorLog(u"%1 chats are open: chat %2 is refused"_s.arg(kMostChats).arg(token));
        if (chatsOf(token).isEmpty()) {
            reportClosed(token); // so that its operator does not wait
        }
        return;
    }
    auto* const chat = new ChatController(&AppDelegate::labels, options.allowToLeaveChat);
    state().chats.append(chat);
    QObject::connect(chat, &ChatController::lineEntered, chat,
                     [token](const QString& text) { sendLine(token, text); });
    QObject::connect(chat, &ChatController::closed, chat, [token] { reportClosed(token); });
    QObject::connect(chat, &ChatController::quit, chat, [token] { removeChat(token); });
    const QList<SessionInfo>& sessions = state().sessions.all();
    chat->set(token, session, sessions.isEmpty() ? QString() : sessions.first().remoteControlUser);
    chat->refresh();
    // The keyboard is still where the user asked: they have not gone on to something else.
    chat->presentBesideOthers(!state().awaitedChats.take(session).hasExpired() &&
                              state().connectionStatus->isActiveWindow());
}

void AppDelegate::closeChat(qint32 token)
{
    for (ChatController* const chat : chatsOf(token)) {
        chat->wakeUp();
        chat->end();
    }
}

void AppDelegate::endChats(std::optional<qint64> session)
{
    for (ChatController* const chat : std::as_const(state().chats)) {
        if (!session || chat->session == *session) {
            chat->end();
        }
    }
}

void AppDelegate::receiveChat(const ChatMessage& message)
{
    for (ChatController* const chat : chatsOf(message.context)) {
        chat->wakeUp();
        chat->receiveChat(Names::inSession(message.from, chat->session), message.text);
    }
}

void AppDelegate::chatMemberJoined(const ChatMember& member)
{
    for (ChatController* const chat : chatsOf(member.context)) {
        chat->wakeUp();
        chat->joinedMember(Names::inSession(member.member, chat->session));
    }
}

void AppDelegate::chatMemberLeft(const ChatMember& member)
{
    for (ChatController* const chat : chatsOf(member.context)) {
        chat->wakeUp();
        chat->leftMemberLater(Names::inSession(member.member, chat->session));
    }
}

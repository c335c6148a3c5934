#include "dispatch/MessageDispatch.h"

#include "agent_state/AppDelegate.h"
#include "localisation/Numbers.h"
#include "logging/Logs.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

// One message: its whole text, and what follows the command.
struct Received {
    const QString& text;
    const QStringView payload;
    ClientConnection::Handled& result;
};

// Posts an operation with the record, where there is one.
template <typename Record>
void post(const std::optional<Record>& record, void (*operation)(const Record&))
{
    if (record) {
        AppDelegate::post([operation, value = *record] { operation(value); });
    }
}

void disconnectedGateway(const Received&)
{
    printLog(u"gateway not connected"_s);
    AppDelegate::post(&AppDelegate::gatewayDisconnected);
}

void disconnectAllSessions(const Received& received)
{
    printLog(u"disconnect all sessions"_s);
    received.result.awaited = Worker::start([] {
        MainQueue::postAndWait(AppDelegate::whileRunning(&AppDelegate::allSessionsDisconnected));
    });
}

void accountInvalid(const Received&)
{
    AppDelegate::post(&AppDelegate::accountInvalid);
}

void userAcknowledgement(const Received& received)
{
    printLog(received.text);
    const QStringList pieces = received.payload.toString().split(u';', Qt::SkipEmptyParts);
    const auto session = pieces.size() == 3 ? parseInteger64(pieces.at(0)) : std::nullopt;
    if (!session) {
        return;
    }
    const auto ask = [number = *session, server = pieces.at(1), user = pieces.at(2)] {
        if (!AppDelegate::acceptIfScreenIsLocked(number, user)) {
            AppDelegate::post([=] { AppDelegate::userAcknowledgeRequest(number, server, user); });
        }
    };
    received.result.awaited = Worker::start(ask);
}

void disconnectedGatewayReason(const Received& received)
{
    printLog(u"gateway not connected"_s);
    printLog(u"gateway not connected: "_s + received.payload.toString());
    AppDelegate::post(&AppDelegate::gatewayDisconnected);
}

void connectedSession(const Received& received)
{
    printLog(received.text);
    printLog(u"session connected"_s);
    if (const auto begun = decode_connection_information(received.payload)) {
        const SessionInfo session{begun->session, begun->deviceName, begun->controlName,
                                  sessionDateNow()};
        AppDelegate::post([session] { AppDelegate::sessionConnected(session); });
    }
}

void disconnectedSession(const Received& received)
{
    printLog(u"session not connected"_s);
    if (const auto session = parseInteger64(received.payload)) {
        AppDelegate::post([number = *session] { AppDelegate::sessionDisconnected(number); });
    }
}

void closeAcknowledgement(const Received& received)
{
    printLog(received.text);
    AppDelegate::post(&AppDelegate::closeAcknowledgement);
}

void receiveMessage(const Received& received)
{
    post(decode_message(received.payload), &AppDelegate::showMessageInbox);
}

void requestChat(const Received& received)
{
    const QStringList pieces = received.payload.toString().split(u',');
    if (pieces.size() < 2) {
        fatalState(u"request_chat= without a session"_s);
    }
    const auto token = parseInteger32(pieces.at(0));
    const auto session = parseInteger32(pieces.at(1));
    if (token && session) {
        AppDelegate::post(
            [chat = *token, number = *session] { AppDelegate::requestChat(chat, number); });
    }
}

void closeChat(const Received& received)
{
    if (const auto token = parseInteger32(received.payload)) {
        AppDelegate::post([chat = *token] { AppDelegate::closeChat(chat); });
    }
}

void receiveChat(const Received& received)
{
    post(decode_chat_message(received.payload), &AppDelegate::receiveChat);
}

void chatJoinedMember(const Received& received)
{
    post(decode_chat_member(received.payload), &AppDelegate::chatMemberJoined);
}

void chatLeftMember(const Received& received)
{
    post(decode_chat_member(received.payload), &AppDelegate::chatMemberLeft);
}

void execute(const Received& received, RemoteCommands::Started (*start)(const QString&))
{
    printLog(u"get= "_s + received.payload.toString());
    const auto info = decode_application_info(received.payload);
    if (!info) {
        AppDelegate::send(Protocol::message(Protocol::kResultCommandFailedToRead));
        return;
    }
    static quint64 lastCommand = 0; // of this run; only the link's thread comes here
    const quint64 command = ++lastCommand;
    AppDelegate::post([command, text = info->exec] { AppDelegate::commandBegan(command, text); });
    RemoteCommands::Started started = start(info->exec);
    received.result.awaited = std::move(started.end);
    received.result.rest = [command, session = info->session, wait = started.wait] {
        const int status = wait();
        AppDelegate::send(Protocol::resultCommand(session, status));
        AppDelegate::post([command, status] { AppDelegate::commandEnded(command, status); });
    };
}

void executeCommand(const Received& received)
{
    execute(received, &RemoteCommands::executeCommand);
}

void executeApplication(const Received& received)
{
    execute(received, &RemoteCommands::executeApplication);
}

void connectedGateway(const Received& received)
{
    printLog(u"gateway connected"_s);
    AppDelegate::post(
        [name = received.payload.toString()] { AppDelegate::gatewayConnected(name); });
}

void status(const Received& received)
{
    printLog(u"status received"_s);
    AppDelegate::post(
        [status = decode_status(received.payload)] { AppDelegate::statusReceived(status); });
}

struct Entry {
    QStringView command;
    void (*handle)(const Received&);
};

// The first that matches handles the message.
constexpr Entry kEntries[] = {
    {Protocol::kDisconnectedGateway, &disconnectedGateway},
    {Protocol::kDisconnectAllSessions, &disconnectAllSessions},
    {Protocol::kAccountInvalid, &accountInvalid},
    {Protocol::kUserAcknowledgement, &userAcknowledgement},
    {Protocol::kDisconnectedGatewayReason, &disconnectedGatewayReason},
    {Protocol::kConnectedSession, &connectedSession},
    {Protocol::kDisconnectedSession, &disconnectedSession},
    {Protocol::kCloseAcknowledgement, &closeAcknowledgement},
    {Protocol::kReceiveMessage, &receiveMessage},
    {Protocol::kRequestChat, &requestChat},
    {Protocol::kCloseChat, &closeChat},
    {Protocol::kReceiveChat, &receiveChat},
    {Protocol::kChatJoinedMember, &chatJoinedMember},
    {Protocol::kChatLeftMember, &chatLeftMember},
    {Protocol::kExecuteCommand, &executeCommand},
    {Protocol::kExecuteApplication, &executeApplication},
    {Protocol::kConnectedGateway, &connectedGateway},
    {Protocol::kStatus, &status},
};

} // namespace

ClientConnection::Handled MessageDispatch::checkMessage(const std::optional<QString>& message)
{
    for (const Entry& entry : kEntries) {
        if (const auto payload =
                message ? Protocol::payloadOf(entry.command, *message) : std::nullopt) {
            ClientConnection::Handled handled = {entry.command.toString()};
            entry.handle({*message, *payload, handled});
            return handled;
        }
    }
    return {};
}

#include "dispatch/MessageDispatch.h"

#include "agent_state/AppDelegate.h"
#include "localisation/Numbers.h"
#include "logging/Logs.h"
#include "platform/threads/Worker.h"
#include "records/SessionInfo.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"

#include <QStringList>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// One message: its whole text, and what follows the command.
struct Received {
    const QString& text;
    const QStringView payload;
    ClientConnection::Handled& result;
    bool& isDecoded;
};

// Decodes the payload, and posts the operation with the value, if there is one.
template <auto decode, auto operation>
void pass(const Received& received)
{
    const auto value = decode(received.payload);
    received.isDecoded = value.has_value();
    if (value) {
        AppDelegate::post([decoded = *value] { operation(decoded); });
    }
}

void loseGateway(const Received& received)
{
    printLog(u"gateway not connected"_s);
    if (received.text != Protocol::kDisconnectedGateway) {
        printLog(u"gateway not connected: "_s + received.payload.toString());
    }
    AppDelegate::post([] { AppDelegate::gatewayReported(std::nullopt); });
}

void disconnectAllSessions(const Received& received)
{
    printLog(u"disconnect all sessions"_s);
    received.result.awaited =
        Worker::startOnMain(AppDelegate::whileRunning(&AppDelegate::allSessionsDisconnected));
}

void userAcknowledgement(const Received& received)
{
    printLog(received.text);
    const QStringList pieces = received.payload.toString().split(u';', Qt::SkipEmptyParts);
    const auto session = pieces.size() == 3 ? parseInteger<qint64>(pieces.at(0)) : std::nullopt;
    received.isDecoded = session.has_value();
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

void connectedSession(const Received& received)
{
    printLog(received.text);
    printLog(u"session connected"_s);
    const auto begun = decode_connection_information(received.payload);
    received.isDecoded = begun.has_value();
    if (begun) {
        const SessionInfo session{begun->session, begun->deviceName, begun->controlName,
                                  sessionDateNow()};
        AppDelegate::post([session] { AppDelegate::sessionConnected(session); });
    }
}

void requestChat(const Received& received)
{
    const QStringList pieces = received.payload.toString().split(u',');
    if (pieces.size() < 2) {
        fatalState(u"request_chat= without a session"_s);
    }
    const auto token = parseInteger<qint32>(pieces.at(0));
    const auto session = parseInteger<qint32>(pieces.at(1));
    received.isDecoded = token && session;
    if (received.isDecoded) {
        AppDelegate::post(
            [chat = *token, number = *session] { AppDelegate::requestChat(chat, number); });
    }
}

template <RemoteCommands::Started (*start)(const QString&)>
void execute(const Received& received)
{
    printLog(u"get= "_s + received.payload.toString());
    const auto info = decode_application_info(received.payload);
    received.isDecoded = info.has_value();
    if (!info) {
        AppDelegate::send(Protocol::message(Protocol::kResultCommandFailedToRead));
        return;
    }
    RemoteCommands::Started started = start(info->exec);
    AppDelegate::post([info = *info] {
        Q_EMIT AppDelegate::state().events.commandBegan(info.session, info.exec);
    });
    received.result.awaited = std::move(started.end);
    received.result.rest = [session = info->session, wait = started.wait] {
        const int status = wait();
        AppDelegate::send(Protocol::resultCommand(session, status));
        AppDelegate::post([status] { Q_EMIT AppDelegate::state().events.commandEnded(status); });
    };
}

struct Entry {
    QStringView command;
    void (*handle)(const Received&);
};

// The first that matches handles the message.
constexpr Entry kEntries[] = {
    {Protocol::kDisconnectedGateway, &loseGateway},
    {Protocol::kDisconnectAllSessions, &disconnectAllSessions},
    {Protocol::kAccountInvalid,
     [](const Received&) { AppDelegate::post(&AppDelegate::accountInvalid); }},
    {Protocol::kUserAcknowledgement, &userAcknowledgement},
    {Protocol::kDisconnectedGatewayReason, &loseGateway},
    {Protocol::kConnectedSession, &connectedSession},
    {Protocol::kDisconnectedSession,
     [](const Received& received) {
         printLog(u"session not connected"_s);
         pass<&parseInteger<qint64>, &AppDelegate::sessionDisconnected>(received);
     }},
    {Protocol::kCloseAcknowledgement,
     [](const Received& received) {
         printLog(received.text);
         AppDelegate::post(&AppDelegate::closeAcknowledgement);
     }},
    {Protocol::kReceiveMessage, &pass<&decode_message, &AppDelegate::showMessageInbox>},
    {Protocol::kRequestChat, &requestChat},
    {Protocol::kCloseChat, &pass<&parseInteger<qint32>, &AppDelegate::closeChat>},
    {Protocol::kReceiveChat, &pass<&decode_chat_message, &AppDelegate::receiveChat>},
    {Protocol::kChatJoinedMember, &pass<&decode_chat_member, &AppDelegate::chatMemberJoined>},
    {Protocol::kChatLeftMember, &pass<&decode_chat_member, &AppDelegate::chatMemberLeft>},
    {Protocol::kExecuteCommand, &execute<&RemoteCommands::executeCommand>},
    {Protocol::kExecuteApplication, &execute<&RemoteCommands::executeApplication>},
    {Protocol::kConnectedGateway,
     [](const Received& received) {
         printLog(u"gateway connected"_s);
         AppDelegate::post(
             [name = received.payload.toString()] { AppDelegate::gatewayReported(name); });
     }},
    {Protocol::kStatus,
     [](const Received& received) {
         printLog(u"status received"_s);
         const auto status = decode_status(received.payload);
         received.isDecoded = status.has_value();
         AppDelegate::post([status] { AppDelegate::statusReceived(status); });
     }},
};

bool wasDecoded = true; // the message before; only the link's thread uses it

} // namespace

ClientConnection::Handled MessageDispatch::checkMessage(const std::optional<QString>& message)
{
    ClientConnection::Handled handled;
    bool isDecoded = false;
    for (const Entry& entry : kEntries) {
        if (const auto payload =
                message ? Protocol::payloadOf(entry.command, *message) : std::nullopt) {
            handled.command = entry.command.toString();
            isDecoded = true;
            entry.handle({*message, *payload, handled, isDecoded});
            break;
        }
    }
    // Messages that came while the program was stopped are read as one, and what they told is
    // lost. One that follows another such may be the reply, which must not be asked for for ever.
    if (wasDecoded && !isDecoded) {
        AppDelegate::post(&AppDelegate::requestStatusLater);
    }
    wasDecoded = isDecoded;
    return handled;
}

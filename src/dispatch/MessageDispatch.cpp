#include "dispatch/MessageDispatch.h"

#include <QStringList>

#include "agent_core/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/threads/MainQueue.h"
#include "service_link/PayloadRecords.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"

using namespace Qt::StringLiterals;

namespace {

// One message, taken apart.
struct Received {
    const QString& text;
    const QString payload;
};

void postGatewayDown()
{
    MainQueue::post([] { AppDelegate::setGateway(false, QString()); });
    AppDelegate::updateSystemTrayIcon();
    MainQueue::post(&AppDelegate::refreshConnectionStatus);
}

void disconnectedGateway(const Received&)
{
    printLog(u"gateway not connected"_s);
    postGatewayDown();
}

void disconnectAllSessions(const Received&)
{
    printLog(u"disconnect all sessions"_s);
    MainQueue::post([] { AppDelegate::replaceSessions({}); });
    AppDelegate::updateSystemTrayIcon();
    MainQueue::postAndWait([] {
        AppDelegate::configConnectionStatus();
        AppDelegate::stopShowConnectionLater();
        AppDelegate::endChats(std::nullopt);
    });
}

void accountInvalid(const Received&)
{
    MainQueue::post([] {
        AppDelegate::gatewayConnectionStatus = false;
        AppDelegate::setAccountIsValid(false);
        AppDelegate::configConnectionStatus();
    });
}

void userAcknowledgement(const Received& received)
{
    printLog(received.text);
    const QStringList pieces = received.payload.split(u';', Qt::SkipEmptyParts);
    const auto session = pieces.size() == 3 ? Protocol::parseInteger64(pieces.at(0)) : std::nullopt;
    if (session) {
        AppDelegate::userAcknowledgeRequest(*session, pieces.at(1), pieces.at(2));
    }
}

void disconnectedGatewayReason(const Received& received)
{
    printLog(u"gateway not connected"_s);
    printLog(u"gateway not connected: "_s + received.payload);
    postGatewayDown();
}

void connectedSession(const Received& received)
{
    printLog(received.text);
    printLog(u"session connected"_s);
    const auto information = decode_connection_information(received.payload);
    if (!information) {
        return;
    }
    const SessionInfo session{information->session, information->deviceName,
                              information->controlName, sessionDateNow()};
    MainQueue::post([session] { AppDelegate::addSession(session); });
    AppDelegate::updateSystemTrayIcon();
    if (!AppDelegate::isAtLoginWindow()) {
        MainQueue::post([] {
            AppDelegate::configConnectionStatus();
            AppDelegate::showHiddenConnectionLater();
        });
    }
}

void disconnectedSession(const Received& received)
{
    printLog(u"session not connected"_s);
    const auto session = Protocol::parseInteger64(received.payload);
    if (!session) {
        return;
    }
    MainQueue::post([number = *session] { AppDelegate::endSession(number); });
    AppDelegate::updateSystemTrayIcon();
    MainQueue::post([number = *session] {
        AppDelegate::showConnectionAtSessionEnd();
        if (AppDelegate::sessions.isEmpty()) {
            AppDelegate::stopShowConnectionLater();
        }
        AppDelegate::endChats(number);
    });
}

void closeAcknowledgement(const Received& received)
{
    printLog(received.text);
    MainQueue::post(&AppDelegate::closeAcknowledgement);
}

void receiveMessage(const Received& received)
{
    if (const auto message = decode_message(received.payload)) {
        AppDelegate::showMessageInbox(message->from, message->text, message->timeout,
                                      message->icon);
    }
}

void requestChat(const Received& received)
{
    const QStringList pieces = received.payload.split(u',');
    if (pieces.size() < 2) {
        fatalState(u"request_chat= without a session"_s);
    }
    const auto token = Protocol::parseInteger32(pieces.at(0));
    const auto session = Protocol::parseInteger32(pieces.at(1));
    if (token && session) {
        AppDelegate::requestChat(*token, *session);
    }
}

void closeChat(const Received& received)
{
    if (const auto token = Protocol::parseInteger32(received.payload)) {
        MainQueue::post([number = *token] { AppDelegate::wakeChats(number); });
        AppDelegate::closeChat(*token);
    }
}

void receiveChat(const Received& received)
{
    if (const auto message = decode_chat_message(received.payload)) {
        MainQueue::post([line = *message] { AppDelegate::receiveChat(line); });
    }
}

void chatJoinedMember(const Received& received)
{
    if (const auto member = decode_chat_member(received.payload)) {
        MainQueue::post([joined = *member] { AppDelegate::chatMemberJoined(joined); });
    }
}

void chatLeftMember(const Received& received)
{
    if (const auto member = decode_chat_member(received.payload)) {
        MainQueue::post([left = *member] { AppDelegate::chatMemberLeft(left); });
    }
}

void execute(const Received& received, qint64 (*run)(const QString&))
{
    printLog(u"get= "_s + received.payload);
    const auto info = decode_application_info(received.payload);
    AppDelegate::send(info ? Protocol::resultCommand(info->session, run(info->exec))
                           : Protocol::resultCommandFailedToRead());
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
    MainQueue::post([name = received.payload] { AppDelegate::setGateway(true, name); });
    AppDelegate::updateSystemTrayIcon();
    MainQueue::post(&AppDelegate::refreshConnectionStatus);
}

void postStatus(const StatusInfo& status)
{
    if (!status.accountIsValid) {
        // The icon is not refreshed on this path: that is meant.
        MainQueue::post([] {
            AppDelegate::gatewayConnectionStatus = false;
            AppDelegate::setAccountIsValid(false);
        });
        return;
    }
    MainQueue::post([status] {
        AppDelegate::setAccountIsValid(true);
        if (!status.gateway.isEmpty()) {
            AppDelegate::setGateway(true, status.gateway);
        }
        AppDelegate::replaceSessions(status.sessions);
    });
    AppDelegate::updateSystemTrayIcon();
}

void status(const Received& received)
{
    printLog(u"status received"_s);
    if (const auto status = decode_status(received.payload)) {
        postStatus(*status);
    }
    if (!AppDelegate::isAtLoginWindow()) {
        MainQueue::post(&AppDelegate::refreshOrShowConnectionLater);
    }
}

struct Entry {
    Protocol::InboundCommand command;
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

std::optional<QString> MessageDispatch::checkMessage(const std::optional<QString>& message)
{
    if (!message) {
        return std::nullopt;
    }
    for (const Entry& entry : kEntries) {
        if (const auto payload = entry.command.payloadOf(*message)) {
            entry.handle({*message, *payload});
            return entry.command.text.toString();
        }
    }
    return std::nullopt;
}

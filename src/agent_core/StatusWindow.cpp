#include "agent_core/AppDelegate.h"

#include <algorithm>

#include <QTimer>

#include "platform/accounts/ConsoleSession.h"
#include "platform/threads/MainQueue.h"
#include "records/Intervals.h"
#include "service_link/AllowedSettings.h"
#include "service_link/Protocol.h"
#include "windows/ConnectionStatus.h"

namespace {

// Whether the status window may show itself, as the account has it: yes, no, or not said.
std::optional<bool> showsOnConnection()
{
    const auto settings = readAllowedSettings();
    return settings ? settings->show_agent_ui_on_connection : std::nullopt;
}

ConnectionInformation connectionInformation(const SessionInfo& session)
{
    return {session.session, session.remoteDevice, session.remoteControlUser};
}

} // namespace

void AppDelegate::userAcknowledgeRequest(qint64 session, const QString& server,
                                         const QString& controlName)
{
    if (ConsoleSession::isScreenLocked()) {
        send(Protocol::acceptConnection(session));
        return;
    }
    presentAcknowledgement(session, server, controlName);
}

void AppDelegate::showConnectionLater(bool loop)
{
    MainQueue::assertMainThread();
    if (isTerminating() || showsOnConnection() == false) {
        return;
    }
    delete connectionShowTimer.data();
    connectionShowTimer =
        startTimer(Intervals::current().showConnection, loop ? Repeats::Yes : Repeats::No,
                   &AppDelegate::showConnection);
}

void AppDelegate::showConnection()
{
    MainQueue::post([] {
        if (isTerminating() || connectionStatus == nullptr || connectionStatus->isVisible()) {
            return;
        }
        connectionStatus->refresh(true);
        connectionStatus->config();
        if (connectionStatus->isAnyClockRunning()) {
            connectionStatus->presentByService();
        }
    });
}

void AppDelegate::stopShowConnectionLater()
{
    MainQueue::assertMainThread();
    delete connectionShowTimer.data();
    if (isTerminating()) {
        return;
    }
    const auto shows = showsOnConnection();
    if (!shows) {
        connectionStatus->hide();
    } else if (*shows) {
        connectionStatus->wakeUp();
        if (!connectionStatus->isVisible()) {
            connectionStatus->presentByService();
        }
        delete connectionNotShowTimer.data();
        connectionNotShowTimer = startTimer(Intervals::current().hideConnection, Repeats::No,
                                            &AppDelegate::closeConnectionStatus);
    }
}

void AppDelegate::closeConnectionStatus()
{
    if (connectionNotShowTimer) {
        connectionNotShowTimer->stop();
        connectionNotShowTimer->deleteLater(); // it may be the one that calls
        connectionNotShowTimer = nullptr;
    }
    MainQueue::post([] {
        if (!isTerminating() && showsOnConnection() == true &&
            connectionStatus->sessions.isEmpty()) {
            connectionStatus->hide();
        }
    });
}

void AppDelegate::showConnectionAtSessionEnd()
{
    if (isTerminating()) {
        return;
    }
    connectionStatus->config();
    connectionStatus->wakeUp();
    // With the last session gone and nothing said about showing, it is hidden again at once: a
    // window that only flashes up helps nobody.
    if (!sessions.isEmpty() || showsOnConnection()) {
        connectionStatus->presentByService();
    }
}

void AppDelegate::setGateway(bool isConnected, const QString& name)
{
    MainQueue::assertMainThread();
    gatewayConnectionStatus = isConnected;
    connectionStatus->gateway_name = name;
}

void AppDelegate::setAccountIsValid(bool isValid)
{
    MainQueue::assertMainThread();
    connectionStatus->accountIsValid = isValid;
}

void AppDelegate::configConnectionStatus()
{
    connectionStatus->config();
}

void AppDelegate::refreshConnectionStatus()
{
    if (connectionStatus->isVisible()) {
        connectionStatus->config();
    }
}

void AppDelegate::showHiddenConnectionLater()
{
    if (!connectionStatus->isVisible()) {
        showConnectionLater(false);
    }
}

void AppDelegate::refreshOrShowConnectionLater()
{
    refreshConnectionStatus();
    showHiddenConnectionLater();
}

void AppDelegate::addSession(const SessionInfo& session)
{
    MainQueue::assertMainThread();
    const bool isListed =
        std::any_of(sessions.cbegin(), sessions.cend(),
                    [&](const SessionInfo& listed) { return listed.session == session.session; });
    if (!isListed) {
        sessions.append(session);
    }
    connectionStatus->setConnection(connectionInformation(session));
}

void AppDelegate::endSession(qint64 session)
{
    removeConnectionSession(session);
    connectionStatus->resetConnection(session);
}

void AppDelegate::replaceSessions(const QList<SessionInfo>& list)
{
    MainQueue::assertMainThread();
    sessions = list;
    connectionStatus->sessions.clear();
    for (const SessionInfo& session : list) {
        connectionStatus->sessions.append(connectionInformation(session));
    }
}

#include "agent_core/Names.h"
#include "agent_state/AppDelegate.h"
#include "windows/ConnectionStatus.h"

#include <algorithm>

namespace {

SessionInfo named(SessionInfo session)
{
    session.remoteControlUser = Names::inSession(session.remoteControlUser, session.session);
    return session;
}

} // namespace

void AppDelegate::setGatewayConnected(bool isConnected)
{
    state().gatewayConnectionStatus = isConnected;
    state().connectionStatus->gatewayConnectionStatus = isConnected;
}

void AppDelegate::gatewayReported(const std::optional<QString>& name)
{
    setGatewayConnected(name.has_value());
    state().connectionStatus->gateway_name = name.value_or(QString());
    updateSystemTrayIcon();
    redrawIfVisible();
}

// The icon stays as it is here, on purpose: the service reports the gateway's end by itself.
void AppDelegate::accountInvalid()
{
    setGatewayConnected(false);
    state().connectionStatus->accountIsValid = false;
    updateToolTip();
    state().connectionStatus->config();
}

void AppDelegate::sessionConnected(const SessionInfo& session)
{
    state().sessions.forgetEnd(session.session); // a new one
    state().sessions.add(named(session));
    updateSystemTrayIcon();
    if (!isAtLoginWindow()) {
        state().connectionStatus->config();
        showLaterIfHidden();
    }
}

void AppDelegate::sessionDisconnected(qint64 session)
{
    removeConnectionSession(session);
    state().sessions.forgetEnd(session);
    updateSystemTrayIcon();
    showAtSessionEnd();
    if (state().sessions.isEmpty()) {
        stopShowConnectionLater();
    }
    endChats(session);
}

void AppDelegate::removeConnectionSession(qint64 session)
{
    state().sessions.remove(session);
}

void AppDelegate::allSessionsDisconnected()
{
    state().sessions.replace({});
    updateSystemTrayIcon();
    state().connectionStatus->config();
    stopShowConnectionLater();
    endChats(std::nullopt);
}

void AppDelegate::statusReceived(const std::optional<StatusInfo>& status)
{
    if (status) {
        state().connectionStatus->accountIsValid = status->accountIsValid;
    }
    if (status && !status->accountIsValid) {
        setGatewayConnected(false); // the icon stays as it is, as above
        updateToolTip();
    } else if (status) {
        if (!status->gateway.isEmpty()) {
            setGatewayConnected(true);
            state().connectionStatus->gateway_name = status->gateway;
        }
        QList<SessionInfo> sessions = status->sessions;
        std::transform(sessions.cbegin(), sessions.cend(), sessions.begin(), &named);
        state().sessions.replace(sessions);
        updateSystemTrayIcon();
    }
    if (!isAtLoginWindow()) {
        redrawIfVisible();
        showLaterIfHidden();
    }
}

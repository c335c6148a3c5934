#include "agent_state/AppDelegate.h"
#include "windows/ConnectionStatus.h"

void AppDelegate::setGatewayConnected(bool isConnected)
{
    state().gatewayConnectionStatus = isConnected;
    state().connectionStatus->gatewayConnectionStatus = isConnected;
}

void AppDelegate::setManaged(bool isManaged)
{
    state().isManaged = isManaged;
    state().connectionStatus->isManaged = isManaged;
}

void AppDelegate::gatewayConnected(const QString& name)
{
    setGatewayConnected(true);
    state().connectionStatus->gateway_name = name;
    updateSystemTrayIcon();
    redrawIfVisible();
}

void AppDelegate::gatewayDisconnected()
{
    setGatewayConnected(false);
    state().connectionStatus->gateway_name.clear();
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
    forgetEnded(session.session); // a new one
    addSession(session);
    updateSystemTrayIcon();
    if (!isAtLoginWindow()) {
        state().connectionStatus->config();
        showLaterIfHidden();
    }
}

void AppDelegate::sessionDisconnected(qint64 session)
{
    removeConnectionSession(session);
    forgetEnded(session);
    updateSystemTrayIcon();
    showAtSessionEnd();
    if (state().sessions.isEmpty()) {
        stopShowConnectionLater();
    }
    endChats(session);
}

void AppDelegate::allSessionsDisconnected()
{
    replaceSessions({});
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
        replaceSessions(status->sessions);
        updateSystemTrayIcon();
    }
    if (!isAtLoginWindow()) {
        redrawIfVisible();
        showLaterIfHidden();
    }
}

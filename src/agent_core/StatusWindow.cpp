#include "agent_state/AppDelegate.h"
#include "chat/ChatController.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "settings/AllowedSettings.h"
#include "windows/ConnectionStatus.h"

#include <utility>

namespace {

// Reads texts and logo anew, asks the service for the status, and redraws.
void refreshWindow(ConnectionStatus& window)
{
    AppDelegate::send(Protocol::message(Protocol::kRequestConnectionsStatus));
    window.refresh();
    window.config();
}

} // namespace

void AppDelegate::connectionDisplay()
{
    refreshWindow(*state().connectionStatus);
    state().connectionStatus->present();
}

void AppDelegate::redrawIfVisible()
{
    if (state().connectionStatus->isSeen()) {
        state().connectionStatus->config();
    }
}

void AppDelegate::showLaterIfHidden()
{
    if (!state().connectionStatus->isSeen()) {
        showConnectionLater(false);
    }
}

void AppDelegate::showConnectionLater(bool loop)
{
    if (showsAgentOnConnection() != false) {
        state().connectionShowTimer.setSingleShot(!loop);
        state().connectionShowTimer.start(Intervals::current().showConnection);
    }
}

void AppDelegate::showConnection()
{
    ConnectionStatus& window = *state().connectionStatus;
    if (window.isSeen()) {
        return;
    }
    // The status is asked for only when the window comes up: the reply calls this function again.
    window.config();
    if (!window.sessions().isEmpty()) {
        refreshWindow(window);
        window.presentByService();
    }
}

void AppDelegate::stopShowConnectionLater()
{
    state().connectionShowTimer.stop();
    ConnectionStatus& window = *state().connectionStatus;
    const auto shows = showsAgentOnConnection();
    if (!shows) {
        window.hide();
    } else if (*shows) {
        window.wakeUp();
        if (!window.isSeen()) {
            window.presentByService();
        }
        state().connectionNotShowTimer.start(Intervals::current().hideConnection);
    }
}

void AppDelegate::closeConnectionStatus()
{
    state().connectionNotShowTimer.stop();
    if (showsAgentOnConnection() == true && state().sessions.isEmpty()) {
        state().connectionStatus->hide();
    }
}

// Shows the window whatever the account says about showing.
void AppDelegate::showAtSessionEnd()
{
    state().connectionStatus->config();
    // With the last session gone and nothing said about showing, it is hidden again at once: a
    // window that only flashes up helps nobody.
    if (!state().sessions.isEmpty() || showsAgentOnConnection()) {
        state().connectionStatus->presentByService();
    }
}

// The user sees the session gone before the service is told, and without waiting for it.
void AppDelegate::endSession(qint64 session)
{
    state().sessions.expectEnd(session);
    removeConnectionSession(session);
    updateSystemTrayIcon();
    state().connectionStatus->config();
    for (ChatController* const chat : std::as_const(state().chats)) {
        if (chat->session == session) {
            chat->end();
            send(Protocol::message(Protocol::kCloseChat, chat->token));
        }
    }
    send(Protocol::message(Protocol::kDisconnectSession, session));
}

#include "agent_state/AppDelegate.h"
#include "chat/ChatController.h"
#include "records/Intervals.h"
#include "service_link/AllowedSettings.h"
#include "service_link/Protocol.h"
#include "windows/ConnectionStatus.h"

#include <QTimer>

#include <utility>

namespace {

// Whether the status window may show itself, as the account has it: yes, no, or not said.
std::optional<bool> showsOnConnection()
{
    const auto settings = readAllowedSettings();
    return settings ? settings->show_agent_ui_on_connection : std::nullopt;
}

// Reads texts and logo anew, asks the service for the status, and redraws.
void refreshWindow(ConnectionStatus& window)
{
    AppDelegate::send(Protocol::requestConnectionsStatus());
    window.refresh();
    window.config();
}

} // namespace

void AppDelegate::connectionDisplay()
{
    if (isTerminating()) {
        return;
    }
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
    if (isTerminating() || showsOnConnection() == false) {
        return;
    }
    delete state().connectionShowTimer.data();
    state().connectionShowTimer =
        startTimer(Intervals::current().showConnection, loop ? Repeats::Yes : Repeats::No,
                   &AppDelegate::showConnection);
}

void AppDelegate::showConnection()
{
    ConnectionStatus& window = *state().connectionStatus;
    if (isTerminating() || window.isSeen()) {
        return;
    }
    // Only a window that comes up asks for the status: the answer leads here again.
    window.config();
    if (!window.sessions().isEmpty()) {
        refreshWindow(window);
        window.presentByService();
    }
}

void AppDelegate::stopShowConnectionLater()
{
    delete state().connectionShowTimer.data();
    if (isTerminating()) {
        return;
    }
    ConnectionStatus& window = *state().connectionStatus;
    const auto shows = showsOnConnection();
    if (!shows) {
        window.hide();
    } else if (*shows) {
        window.wakeUp();
        if (!window.isSeen()) {
            window.presentByService();
        }
        delete state().connectionNotShowTimer.data();
        state().connectionNotShowTimer = startTimer(
            Intervals::current().hideConnection, Repeats::No, &AppDelegate::closeConnectionStatus);
    }
}

void AppDelegate::closeConnectionStatus()
{
    if (QTimer* const timer = std::exchange(state().connectionNotShowTimer, nullptr)) {
        timer->stop();
        timer->deleteLater(); // it may be the one that calls
    }
    if (!isTerminating() && showsOnConnection() == true && state().sessions.isEmpty()) {
        state().connectionStatus->hide();
    }
}

// Shows the window whatever the account says about showing.
void AppDelegate::showAtSessionEnd()
{
    state().connectionStatus->config();
    // With the last session gone and nothing said about showing, it is hidden again at once: a
    // window that only flashes up helps nobody.
    if (!isTerminating() && (!state().sessions.isEmpty() || showsOnConnection())) {
        state().connectionStatus->presentByService();
    }
}

// The person sees the session gone before the service is told, and without waiting for it.
void AppDelegate::endSession(qint64 session)
{
    removeConnectionSession(session);
    state().endedByPerson.insert(session);
    updateSystemTrayIcon();
    state().connectionStatus->config();
    for (ChatController* const chat : std::as_const(state().chats)) {
        if (chat->session == session) {
            chat->end();
            send(Protocol::closeChat(chat->token));
        }
    }
    send(Protocol::disconnectSession(session));
}

void AppDelegate::requestChatOf(qint64 session)
{
    send(Protocol::chatRequest(session));
}

#include "agent_state/AppDelegate.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/WindowActivation.h"
#include "records/StatusSummary.h"
#include "windows/ConnectionStatus.h"

#include <algorithm>

namespace {

StatusSummary summary()
{
    const AgentState& state = AppDelegate::state();
    StatusSummary summary;
    summary.isLinked = state.gatewayConnectionStatus;
    summary.gateway =
        state.gatewayConnectionStatus ? state.connectionStatus->gateway_name : QString();
    summary.port = AppDelegate::options.portUI;
    for (const SessionInfo& session : state.sessions.all()) {
        summary.sessions.append(
            {session.session, session.remoteControlUser, session.remoteDevice,
             session.sessionDate ? sessionDateTime(*session.sessionDate) : QDateTime()});
    }
    return summary;
}

bool endListedSession(qint64 number)
{
    const QList<SessionInfo>& sessions = AppDelegate::state().sessions.all();
    const bool isListed =
        std::any_of(sessions.cbegin(), sessions.cend(),
                    [&](const SessionInfo& session) { return session.session == number; });
    if (isListed && !AppDelegate::isTerminating()) {
        AppDelegate::endSession(number);
        return true;
    }
    return false;
}

} // namespace

void AppDelegate::answerRequests()
{
    RunningAgent::answer({.present =
                              [](quint32 time) {
                                  WindowActivation::noteAction(time);
                                  connectionDisplay();
                              },
                          .port = [] { return options.portUI; },
                          .status = [] { return summary().toJson(); },
                          .endSession = &endListedSession});
}

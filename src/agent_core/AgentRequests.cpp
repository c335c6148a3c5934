#include "agent_core/AgentRequests.h"

#include "agent_state/AppDelegate.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/WindowActivation.h"
#include "records/StatusSummary.h"
#include "windows/ConnectionStatus.h"

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

bool endListedSession(qint64 session)
{
    const bool isListed = AppDelegate::state().sessions.contains(session);
    if (isListed) {
        AppDelegate::endSession(session);
    }
    return isListed;
}

} // namespace

void AgentRequests::answer()
{
    RunningAgent::answer({.present =
                              [](quint32 time) {
                                  WindowActivation::noteAction(time);
                                  AppDelegate::whileRunning (&AppDelegate::connectionDisplay)();
                              },
                          .port = [] { return AppDelegate::options.portUI; },
                          .status = [] { return summary().toJson(); },
                          .endSession =
                              [](qint64 session) {
                                  return !AppDelegate::isTerminating() && endListedSession(session);
                              }});
}

#include "agent_state/AppDelegate.h"
#include "windows/ConnectionStatus.h"

#include <algorithm>

// The only code that changes the agent's list of sessions. It changes the status window's list with
// it, so that both hold the same sessions in the same order.
class SessionChanges {
public:
    static QList<SessionInfo>& list() { return AppDelegate::state().sessions.m_sessions; }

    static auto find(qint64 session)
    {
        return std::find_if(list().begin(), list().end(), [session](const SessionInfo& listed) {
            return listed.session == session;
        });
    }
};

void AppDelegate::addSession(const SessionInfo& session)
{
    if (SessionChanges::find(session.session) == SessionChanges::list().end()) {
        SessionChanges::list().append(session);
        state().connectionStatus->setConnection(session);
    }
}

void AppDelegate::removeConnectionSession(qint64 session)
{
    const auto found = SessionChanges::find(session);
    if (found != SessionChanges::list().end()) {
        SessionChanges::list().erase(found);
        state().connectionStatus->resetConnection(session);
    }
}

void AppDelegate::replaceSessions(const QList<SessionInfo>& sessions)
{
    while (!SessionChanges::list().isEmpty()) {
        removeConnectionSession(SessionChanges::list().constLast().session);
    }
    for (const SessionInfo& session : sessions) {
        addSession(session);
    }
}

#include "agent_core/Names.h"
#include "agent_state/AppDelegate.h"
#include "windows/ConnectionStatus.h"

#include <algorithm>
#include <iterator>
#include <optional>

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

    static bool add(SessionInfo session)
    {
        const bool isNew = find(session.session) == list().end();
        if (isNew) {
            session.remoteControlUser =
                Names::inSession(session.remoteControlUser, session.session);
            list().append(session);
            AppDelegate::state().connectionStatus->setConnection(session);
        }
        return isNew;
    }

    static std::optional<SessionInfo> remove(qint64 session)
    {
        const auto found = find(session);
        if (found == list().end()) {
            return std::nullopt;
        }
        const SessionInfo removed = list().takeAt(std::distance(list().begin(), found));
        AppDelegate::state().connectionStatus->resetConnection(session);
        return removed;
    }
};

namespace {

bool isIn(const QList<SessionInfo>& sessions, qint64 session)
{
    return std::any_of(sessions.cbegin(), sessions.cend(),
                       [session](const SessionInfo& listed) { return listed.session == session; });
}

} // namespace

void AppDelegate::addSession(const SessionInfo& session)
{
    if (SessionChanges::add(session)) {
        noteSessionBegan(SessionChanges::list().constLast());
    }
}

void AppDelegate::removeConnectionSession(qint64 session)
{
    if (const auto removed = SessionChanges::remove(session)) {
        noteSessionEnded(*removed);
    }
}

void AppDelegate::replaceSessions(const QList<SessionInfo>& sessions)
{
    const QList<SessionInfo> before = SessionChanges::list();
    for (const SessionInfo& session : before) {
        SessionChanges::remove(session.session);
    }
    for (const SessionInfo& session : sessions) {
        SessionChanges::add(session);
    }
    for (const SessionInfo& session : before) {
        if (!isIn(sessions, session.session)) {
            noteSessionEnded(session);
        }
    }
    const QList<SessionInfo> after = SessionChanges::list();
    for (const SessionInfo& session : after) {
        if (!isIn(before, session.session)) {
            noteSessionBegan(session);
        }
    }
    const QSet<qint64> ended = state().endedByPerson;
    for (const qint64 session : ended) {
        if (!isIn(sessions, session)) {
            forgetEnded(session);
        }
    }
}

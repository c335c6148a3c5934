#include "agent_state/SessionList.h"

#include <algorithm>

namespace {

bool isIn(const QList<SessionInfo>& sessions, qint64 session)
{
    return std::any_of(sessions.cbegin(), sessions.cend(),
                       [session](const SessionInfo& listed) { return listed.session == session; });
}

} // namespace

bool SessionList::contains(qint64 session) const
{
    return isIn(m_sessions, session);
}

void SessionList::add(const SessionInfo& session)
{
    if (!contains(session.session)) {
        m_sessions.append(session);
        Q_EMIT added(session);
        tellBegan(session);
    }
}

void SessionList::remove(qint64 session)
{
    const auto found =
        std::find_if(m_sessions.cbegin(), m_sessions.cend(),
                     [session](const SessionInfo& listed) { return listed.session == session; });
    if (found != m_sessions.cend()) {
        const SessionInfo gone = m_sessions.takeAt(found - m_sessions.cbegin());
        Q_EMIT removed(session);
        Q_EMIT ended(gone);
    }
}

void SessionList::replace(const QList<SessionInfo>& sessions)
{
    const QList<SessionInfo> before = std::exchange(m_sessions, {});
    for (const SessionInfo& session : before) {
        Q_EMIT removed(session.session);
    }
    for (const SessionInfo& session : sessions) {
        if (!contains(session.session)) {
            m_sessions.append(session);
            Q_EMIT added(session);
        }
    }
    for (const SessionInfo& session : before) {
        if (!contains(session.session)) {
            Q_EMIT ended(session);
        }
    }
    const QList<SessionInfo> after = m_sessions;
    for (const SessionInfo& session : after) {
        if (isIn(before, session.session)) {
            continue;
        }
        if (session.sessionDate ? *session.sessionDate < m_start : !m_hasReport) {
            Q_EMIT ranBefore(session);
        } else {
            tellBegan(session);
        }
    }
    m_hasReport = true;
    const QSet<qint64> expected = m_expectedEnds;
    for (const qint64 session : expected) {
        if (!contains(session)) {
            forgetEnd(session);
        }
    }
}

void SessionList::tellBegan(const SessionInfo& session)
{
    if (m_expectedEnds.contains(session.session)) {
        Q_EMIT hasNotEnded(session);
    } else {
        Q_EMIT began(session);
    }
}

void SessionList::forgetEnd(qint64 session)
{
    m_expectedEnds.remove(session);
    Q_EMIT endForgotten(session);
}

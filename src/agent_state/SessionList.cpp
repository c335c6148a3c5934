#include "agent_state/SessionList.h"

#include "records/Intervals.h"

#include <algorithm>
#include <utility>

void SessionList::add(const SessionInfo& session)
{
    if (!isListed(session.session, m_sessions)) {
        m_sessions.append(session);
        Q_EMIT added(session);
        tellListed(session, true);
    }
}

void SessionList::remove(qint64 session)
{
    const auto found = std::ranges::find(std::as_const(m_sessions), session, &SessionInfo::session);
    if (found != m_sessions.cend()) {
        const SessionInfo gone = m_sessions.takeAt(found - m_sessions.cbegin());
        Q_EMIT removed(session);
        tellEnded(gone);
    }
}

void SessionList::replace(const QList<SessionInfo>& sessions)
{
    const QList<SessionInfo> before = std::exchange(m_sessions, {});
    for (const SessionInfo& session : before) {
        Q_EMIT removed(session.session);
    }
    for (const SessionInfo& session : sessions) {
        if (!isListed(session.session, m_sessions)) {
            m_sessions.append(session);
            Q_EMIT added(session);
        }
    }
    for (const SessionInfo& session : before) {
        if (!isListed(session.session, m_sessions)) {
            tellEnded(session);
        }
    }
    const QList<SessionInfo> after = m_sessions;
    for (const SessionInfo& session : after) {
        tellListed(session, !isListed(session.session, before));
    }
    const QList<qint64> expected = m_expectedEnds.keys();
    for (const qint64 session : expected) {
        if (!isListed(session, m_sessions)) {
            forgetEnd(session);
        }
    }
    if (!std::exchange(m_hasReport, true)) {
        Q_EMIT reported();
    }
}

void SessionList::expectEnd(qint64 session)
{
    ExpectedEnd& end = m_expectedEnds[session];
    end.since.start();
    end.isTold = end.isTold && !std::exchange(end.hasFailed, false);
}

void SessionList::tellListed(const SessionInfo& session, bool isNew)
{
    const bool isOlder = session.sessionDate ? *session.sessionDate < m_start : !m_hasReport;
    const auto end = m_expectedEnds.find(session.session);
    if (end == m_expectedEnds.end()) {
        if (isNew && isOlder) {
            Q_EMIT ranBefore(session);
        } else if (isNew) {
            Q_EMIT began(session);
        }
    } else if (end->since.hasExpired(Intervals::current().endReport.count()) &&
               !std::exchange(end->hasFailed, true)) {
        Q_EMIT hasNotEnded(session);
    }
}

// The end that the user brings about is told at once, and not again when it is reported.
void SessionList::tellEnded(const SessionInfo& session)
{
    const auto end = m_expectedEnds.find(session.session);
    if (end == m_expectedEnds.end() || !std::exchange(end->isTold, true) || end->hasFailed) {
        Q_EMIT ended(session);
    }
}

void SessionList::forgetEnd(qint64 session)
{
    m_expectedEnds.remove(session);
    Q_EMIT endForgotten(session);
}

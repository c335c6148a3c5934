#pragma once

#include "records/SessionInfo.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>

// The list of the open sessions; nothing else changes it. Main thread.
class SessionList : public QObject {
    Q_OBJECT

public:
    [[nodiscard]] const QList<SessionInfo>& all() const { return m_sessions; }
    [[nodiscard]] bool isEmpty() const { return m_sessions.isEmpty(); }

    // A number that is listed already is not added again.
    void add(const SessionInfo& session);
    void remove(qint64 session);
    // The service has reported the whole list.
    void replace(const QList<SessionInfo>& sessions);

    // The user has ended a session, and the service has yet to report it: one that a report lists
    // after `endReport` (see Intervals) has not ended. An earlier report was made before the
    // service knew, so what it says of that session is no news.
    void expectEnd(qint64 session);
    [[nodiscard]] bool isEndExpected(qint64 session) const
    {
        return m_expectedEnds.contains(session);
    }
    // The end was reported, or another session has that number.
    void forgetEnd(qint64 session);

Q_SIGNALS:
    // Each session that is added to the list or removed from it.
    void added(const SessionInfo& session);
    void removed(qint64 session);
    // What has happened. When a list replaces another, only sessions that differ begin or end.
    void began(const SessionInfo& session);
    void ranBefore(const SessionInfo& session); // not began(): it is older than this agent
    void hasNotEnded(const SessionInfo& session);
    void ended(const SessionInfo& session);
    // The service has reported the whole list for the first time. Emitted after the signals above.
    void reported();
    void endForgotten(qint64 session);

private:
    struct ExpectedEnd {
        QElapsedTimer since;
        bool isTold = false;    // ended() was emitted
        bool hasFailed = false; // hasNotEnded() was emitted
    };

    void tellListed(const SessionInfo& session, bool isNew);
    void tellEnded(const SessionInfo& session);

    const double m_start = sessionDateNow();
    bool m_hasReport = false; // reported() was emitted
    QList<SessionInfo> m_sessions;
    QHash<qint64, ExpectedEnd> m_expectedEnds;
};

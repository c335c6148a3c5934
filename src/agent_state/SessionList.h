#pragma once

#include "records/SessionInfo.h"

#include <QList>
#include <QObject>
#include <QSet>

// The sessions that are open, and the one that changes them. Main thread.
class SessionList : public QObject {
    Q_OBJECT

public:
    [[nodiscard]] const QList<SessionInfo>& all() const { return m_sessions; }
    [[nodiscard]] bool isEmpty() const { return m_sessions.isEmpty(); }
    [[nodiscard]] bool contains(qint64 session) const;

    // A number that is listed already is not added again.
    void add(const SessionInfo& session);
    void remove(qint64 session);
    // The service has reported the whole list.
    void replace(const QList<SessionInfo>& sessions);

    // Sessions that the user has ended and whose end the service has yet to report: one that is
    // listed again has not ended.
    void expectEnd(qint64 session) { m_expectedEnds.insert(session); }
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
    void ranBefore(const SessionInfo& session);   // instead: it began before this agent
    void hasNotEnded(const SessionInfo& session); // instead of began()
    void ended(const SessionInfo& session);
    void endForgotten(qint64 session);

private:
    void tellBegan(const SessionInfo& session);

    const double m_start = sessionDateNow();
    bool m_hasReport = false; // of the whole list
    QList<SessionInfo> m_sessions;
    QSet<qint64> m_expectedEnds;
};

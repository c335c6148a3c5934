#pragma once

#include "records/Activity.h"

#include <QByteArray>
#include <QList>

// What happened, in order, since a moment. It is bounded: entries of the older half are dropped and
// counted, the oldest first of those that the user has seen, then of commands, and last sessions'
// ends and what has not ended.
//
// It can be kept as records: lines, each a checksum and a JSON object. What changes the list
// returns the record of the change.
class ActivityList {
public:
    static constexpr qsizetype kMost = 1'000;

    // An entry takes the place of the one of its number; one without a number is new and gets one.
    QByteArray put(Activity activity);
    // The user has been told what is unseen.
    QByteArray markTold();

    [[nodiscard]] const QList<Activity>& all() const { return m_all; }
    // Of the newest entry.
    [[nodiscard]] quint64 lastNumber() const { return m_last; }
    [[nodiscard]] const QDateTime& since() const { return m_since; }
    // How many older ones were dropped.
    [[nodiscard]] qint64 dropped() const { return m_dropped; }
    [[nodiscard]] QList<Activity> unseen() const;
    // Something happened while the user was away, and nobody has told yet.
    [[nodiscard]] bool hasUntold() const;
    // The sessions that have begun and not ended.
    [[nodiscard]] QList<Activity> openSessions() const;

    // {"since": "2026-03-01T09:30:00.000Z", "dropped": 0, "entries": [...]}
    [[nodiscard]] QJsonObject toJson() const;

    // The whole list as records of at most so many bytes; drops what does not fit.
    [[nodiscard]] QByteArray records(qsizetype most);
    // The list that an earlier run of the agent has kept; none where a record is damaged.
    [[nodiscard]] static std::optional<ActivityList> fromRecords(const QByteArray& records);

private:
    void dropOne();

    QList<Activity> m_all;
    QDateTime m_since = QDateTime::currentDateTimeUtc();
    qint64 m_dropped = 0;
    quint64 m_last = 0;
    quint64 m_told = 0; // the last one of which the user was told
};

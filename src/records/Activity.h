#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

// One thing that happened to this computer in this run of the agent.
struct Activity {
    enum class Kind { SessionBegan, SessionEnded, SessionNotEnded, RequestAccepted, Command };

    Kind kind = Kind::SessionBegan;
    QDateTime time;
    QString text; // the operator's name, or the command
    // Of a command only: what finish() knows it by, and its status once it has ended.
    quint64 command = 0;
    std::optional<qint64> status = std::nullopt;
    bool isUnseen = false; // it happened while the user was away
};

// What happened, in order. It lives in memory only and is bounded: the oldest entries are dropped
// and counted, those that the user has seen first.
class ActivityList {
public:
    static constexpr qsizetype kMost = 1'000;
    // Of an entry's text, in UTF-16 code units; what is longer is cut, and ends in '…'.
    static constexpr qsizetype kLongestText = 4'000;

    void add(const Activity& activity);
    // A command has ended.
    void finish(quint64 command, qint64 status);

    [[nodiscard]] const QList<Activity>& all() const { return m_all; }
    // How many older ones were dropped.
    [[nodiscard]] qint64 dropped() const { return m_dropped; }
    [[nodiscard]] QList<Activity> unseen() const;
    void markSeen();

private:
    QList<Activity> m_all;
    qint64 m_dropped = 0;
};

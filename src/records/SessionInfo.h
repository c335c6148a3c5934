#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

// A remote session that is open.
struct SessionInfo {
    qint64 session = 0;
    QString remoteDevice;
    QString remoteControlUser;
    // When it began, in seconds since 2001-01-01 00:00:00 UTC, fractions allowed.
    std::optional<double> sessionDate;
};

[[nodiscard]] bool isListed(qint64 session, const QList<SessionInfo>& sessions);

// The present moment as `SessionInfo::sessionDate` counts it. Any thread.
[[nodiscard]] double sessionDateNow();

// The moment that it stands for; invalid where it is thousands of years away. Any thread.
[[nodiscard]] QDateTime sessionDateTime(double sessionDate);

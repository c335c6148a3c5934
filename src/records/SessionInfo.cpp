#include "records/SessionInfo.h"

#include <QTimeZone>

#include <algorithm>

namespace {

// 2001-01-01 00:00:00 UTC, in milliseconds since the Unix epoch.
constexpr qint64 kReferenceDate = 978'307'200'000;

} // namespace

bool isListed(qint64 session, const QList<SessionInfo>& sessions)
{
    return std::ranges::find(sessions, session, &SessionInfo::session) != sessions.end();
}

double sessionDateNow()
{
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch() - kReferenceDate) / 1000;
}

QDateTime sessionDateTime(double sessionDate)
{
    constexpr double kMost = 1e11; // seconds: some three thousand years
    if (!(sessionDate > -kMost && sessionDate < kMost)) {
        return {};
    }
    const auto milliseconds = static_cast<qint64>(sessionDate * 1000);
    return QDateTime::fromMSecsSinceEpoch(kReferenceDate + milliseconds, QTimeZone::utc());
}

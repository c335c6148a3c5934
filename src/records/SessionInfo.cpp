#include "records/SessionInfo.h"

#include <QDateTime>

double sessionDateNow()
{
    // 2001-01-01 00:00:00 UTC, in milliseconds since the Unix epoch.
    constexpr qint64 kReferenceDate = 978'307'200'000;
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch() - kReferenceDate) / 1000;
}

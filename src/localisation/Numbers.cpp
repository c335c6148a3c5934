#include "localisation/Numbers.h"

#include <QString>

#include <algorithm>
#include <utility>

std::optional<qint64> parseInteger64(QStringView text)
{
    const bool hasSign = text.startsWith(u'-') || text.startsWith(u'+');
    const QStringView digits = text.sliced(hasSign ? 1 : 0);
    // Qt's own conversion would also accept blanks and the digits of other scripts.
    const bool isDecimal =
        !digits.isEmpty() &&
        std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    bool isInRange = false;
    const qint64 number = isDecimal ? text.toLongLong(&isInRange) : 0;
    return isInRange ? std::optional(number) : std::nullopt;
}

std::optional<qint32> parseInteger32(QStringView text)
{
    const auto number = parseInteger64(text);
    const bool isInRange = number && std::in_range<qint32>(*number);
    return isInRange ? std::optional(static_cast<qint32>(*number)) : std::nullopt;
}

#include "localisation/Numbers.h"

#include <QString>

#include <algorithm>
#include <utility>

template <typename Number>
std::optional<Number> parseInteger(QStringView text)
{
    const bool hasSign = text.startsWith(u'-') || text.startsWith(u'+');
    const QStringView digits = text.sliced(hasSign ? 1 : 0);
    // Qt's own conversion would also accept blanks and the digits of other scripts.
    const bool isDecimal =
        !digits.isEmpty() &&
        std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    bool isInRange = false;
    const qint64 number = isDecimal ? text.toLongLong(&isInRange) : 0;
    return isInRange && std::in_range<Number>(number) ? std::optional(static_cast<Number>(number))
                                                      : std::nullopt;
}

template std::optional<quint16> parseInteger(QStringView text);
template std::optional<qint32> parseInteger(QStringView text);
template std::optional<qint64> parseInteger(QStringView text);

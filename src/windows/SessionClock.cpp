#include "windows/SessionClock.h"

#include <array>

using namespace Qt::StringLiterals;

std::optional<QString> elapsedText(double seconds)
{
    // A machine's clock may be set at any moment; a century is more than any session.
    constexpr double kLongest = 100.0 * 366 * 24 * 60 * 60;
    if (!(seconds > 1.0) || seconds > kLongest) {
        return std::nullopt;
    }
    const auto whole = static_cast<qint64>(seconds);
    if (whole < 60) {
        return u"0:%1"_s.arg(whole, 2, 10, QLatin1Char('0'));
    }
    const std::array<qint64, 4> units = {whole / 86'400, whole / 3'600 % 24, whole / 60 % 60,
                                         whole % 60};
    QString text;
    for (const qint64 unit : units) {
        if (!text.isEmpty()) {
            text += u":%1"_s.arg(unit, 2, 10, QLatin1Char('0'));
        } else if (unit != 0) {
            text = QString::number(unit);
        }
    }
    return text;
}

#include "windows/ArrivalTime.h"

#include <chrono>
#include <memory>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/simpletz.h>

using namespace Qt::StringLiterals;

QString arrivalTime(const QDateTime& time, const QString& language)
{
    // The last format, since the next time is in the same language. To find out a language's
    // pattern takes a millisecond.
    static std::unique_ptr<icu::DateFormat> format;
    static QString formatted;
    UErrorCode status = U_ZERO_ERROR;
    if (!format || formatted != language) {
        const bool isPlain = language == "C"_L1 || language == "POSIX"_L1;
        const icu::Locale locale(isPlain ? "en_US_POSIX" : language.toUtf8().constData());
        if (locale.isBogus()) { // no format can be asked for: ICU 72 crashes
            return {};
        }
        // The fields that are shown; the locale orders them (UTS 35, "Date Field Symbol Table").
        format.reset(
            icu::DateFormat::createInstanceForSkeleton(u"ddMMMMyyyyHHmmss", locale, status));
        formatted = language;
    }
    if (!format || U_FAILURE(status)) {
        return {};
    }
    // The zone by its offset from UTC, since ICU may not know the system's name for it.
    const std::chrono::milliseconds offset = std::chrono::seconds(time.offsetFromUtc());
    format->setTimeZone(icu::SimpleTimeZone(static_cast<int32_t>(offset.count()), {}));
    icu::UnicodeString text;
    format->format(static_cast<UDate>(time.toMSecsSinceEpoch()), text);
    return QString::fromUtf16(text.getBuffer(), text.length());
}

#include "windows/ArrivalTime.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <mutex>

#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>

using namespace Qt::StringLiterals;

namespace {

// The fields that are shown; the locale orders them (UTS 35, "Date Field Symbol Table").
constexpr QStringView kSkeleton(u"ddMMMMyyyyHHmmss");
// More than any locale's pattern and any formatted date.
using Buffer = std::array<UChar, 256>;

using Generator = std::unique_ptr<UDateTimePatternGenerator, decltype(&udatpg_close)>;
using Format = std::unique_ptr<UDateFormat, decltype(&udat_close)>;

QByteArray icuLocale(const QString& language)
{
    if (language == "C"_L1 || language == "POSIX"_L1) {
        return "en_US_POSIX";
    }
    QByteArray locale = language.toUtf8();
    if (locale.contains('-')) {
        std::array<char, ULOC_FULLNAME_CAPACITY> buffer = {};
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length = uloc_forLanguageTag(locale.constData(), buffer.data(),
                                                   ULOC_FULLNAME_CAPACITY, nullptr, &status);
        if (U_SUCCESS(status) && length > 0 && length < ULOC_FULLNAME_CAPACITY) {
            locale = QByteArray(buffer.data(), length);
        }
    }
    return locale;
}

// Only the offset: ICU may not know the system's name of the zone.
QString icuZone(const QDateTime& time)
{
    const int offset = time.offsetFromUtc();
    const int minutes = std::abs(offset) / 60;
    return u"GMT%1%2:%3"_s.arg(QChar(offset < 0 ? u'-' : u'+'))
        .arg(minutes / 60, 2, 10, QChar(u'0'))
        .arg(minutes % 60, 2, 10, QChar(u'0'));
}

// Null where ICU has no answer.
Format formatFor(const QByteArray& locale, const QString& zone)
{
    // After an error each of the calls below returns at once.
    UErrorCode status = U_ZERO_ERROR;
    const Generator generator(udatpg_open(locale.constData(), &status), &udatpg_close);
    Buffer pattern;
    const int32_t patternLength = udatpg_getBestPattern(
        generator.get(), kSkeleton.utf16(), static_cast<int32_t>(kSkeleton.size()), pattern.data(),
        static_cast<int32_t>(pattern.size()), &status);
    return {udat_open(UDAT_PATTERN, UDAT_PATTERN, locale.constData(),
                      reinterpret_cast<const UChar*>(zone.utf16()),
                      static_cast<int32_t>(zone.size()), pattern.data(), patternLength, &status),
            &udat_close};
}

// The last format, since the next message comes in the same language and zone. To find out a
// language's pattern takes a millisecond.
struct Last {
    std::mutex mutex; // guards the rest
    QByteArray locale;
    QString zone;
    Format format{nullptr, &udat_close};
};

} // namespace

QString arrivalTime(const QDateTime& time, const QString& language)
{
    static Last last;
    const std::lock_guard lock(last.mutex);
    const QByteArray locale = icuLocale(language);
    const QString zone = icuZone(time);
    if (!last.format || locale != last.locale || zone != last.zone) {
        last.format = formatFor(locale, zone);
        last.locale = locale;
        last.zone = zone;
    }
    if (!last.format) {
        return {};
    }
    Buffer text;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        udat_format(last.format.get(), static_cast<UDate>(time.toMSecsSinceEpoch()), text.data(),
                    static_cast<int32_t>(text.size()), nullptr, &status);
    return U_SUCCESS(status) ? QString(reinterpret_cast<const QChar*>(text.data()), length)
                             : QString();
}

#include "windows/ArrivalTime.h"

#include <QTimeZone>

#include <array>
#include <memory>
#include <utility>

#include <unicode/udat.h>
#include <unicode/udatpg.h>

using namespace Qt::StringLiterals;

namespace {

// The fields that are shown; the locale orders them (UTS 35, "Date Field Symbol Table").
constexpr QStringView kSkeleton(u"ddMMMMyyyyHHmmss");
// More than any locale's pattern and any formatted date.
using Buffer = std::array<UChar, 256>;

using Generator = std::unique_ptr<UDateTimePatternGenerator, decltype(&udatpg_close)>;
using Format = std::unique_ptr<UDateFormat, decltype(&udat_close)>;

// The zone by its offset from UTC, since ICU may not know the system's name for it.
QString icuZone(const QDateTime& time)
{
    const QByteArray offset = QTimeZone(time.offsetFromUtc()).id().sliced(3); // behind "UTC"
    return u"GMT"_s + QString::fromLatin1(offset);
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

} // namespace

QString arrivalTime(const QDateTime& time, const QString& language)
{
    // The last format, since the next time is in the same language and zone. To find out a
    // language's pattern takes a millisecond.
    static Format format{nullptr, &udat_close};
    static std::pair<QString, QString> formatted;
    const QString zone = icuZone(time);
    if (const std::pair wanted(language, zone); formatted != wanted) {
        const bool isPlain = language == "C"_L1 || language == "POSIX"_L1;
        format = formatFor(isPlain ? "en_US_POSIX" : language.toUtf8(), zone);
        formatted = wanted;
    }
    if (!format) {
        return {};
    }
    Buffer text;
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        udat_format(format.get(), static_cast<UDate>(time.toMSecsSinceEpoch()), text.data(),
                    static_cast<int32_t>(text.size()), nullptr, &status);
    return U_SUCCESS(status) ? QString(reinterpret_cast<const QChar*>(text.data()), length)
                             : QString();
}

// Names and messages of other people, made safe to show.
#include "localisation/ShownText.h"
#include "support/Fuzzing.h"

#include <QRegularExpression>
#include <QTextDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Nothing else ends a line.
void requireSafe(QString text, QChar lineBreak)
{
    // Controls, line breaks, directions, what the text engine keeps for itself, and stacked marks.
    static const QRegularExpression forbidden(
        u"(?!\\t)\\p{Cc}|[\\x{2028}-\\x{202E}\\x{2066}-\\x{206F}\\x{FDD0}-\\x{FDEF}]|\\p{Mn}{9}"
        "|[\\x{FFFC}\\x{FFFE}\\x{FFFF}]"_s,
        QRegularExpression::UseUnicodePropertiesOption);
    require(text.isValidUtf16() && !text.replace(lineBreak, u' ').contains(forbidden),
            "what is shown is text");
}

} // namespace

// One byte is the length that is asked for; the next makes some texts longer than any is shown;
// the rest is UTF-8, or UTF-16 for halves of surrogate pairs.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3) {
        return 0;
    }
    const QByteArrayView bytes = viewOf(data + 2, size - 2);
    QString text = QString::fromUtf8(bytes);
    if (data[0] >= 128) {
        text.resize(bytes.size() / 2);
        std::copy_n(bytes.data(), 2 * text.size(), reinterpret_cast<char*>(text.data()));
    }
    if (data[1] == 255 && !text.isEmpty()) {
        constexpr qsizetype kLongest = 25'000;
        text = text.repeated(kLongest / text.size());
    }
    const int count = data[0] % 128 + 1;
    const QString shown = ShownText::shown(text);
    requireSafe(shown, u'\u2028');
    require(ShownText::shown(shown) == shown, "what is safe stays as it is");
    const QString line = ShownText::line(text, count);
    requireSafe(ShownText::line(text) + u'a' + line, u'a');
    require(line.size() <= count + 1, "a line is as long as it may be");
    const QString tip = ShownText::toolTip(text);
    requireSafe(tip, u'\n');
    const bool isMarkup = tip.startsWith("<p style="_L1) && tip.count(u'<') == 2;
    require(isMarkup || !Qt::mightBeRichText(tip), "nobody else's markup is shown");
    const QString first = ShownText::firstCharacters(text, count);
    require(text.startsWith(first) && (first.isValidUtf16() || !text.isValidUtf16()),
            "the first characters begin the text, and are whole");
    return 0;
}

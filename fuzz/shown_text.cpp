// Names and messages of other people, made safe to show.
#include "localisation/ShownText.h"
#include "support/Fuzzing.h"

#include <QTextDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool isForbidden(char32_t c)
{
    const bool isControl = QChar::category(c) == QChar::Other_Control && c != U'\t' && c != U'\n';
    const bool isDirection = (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x206F);
    const bool isTextEngines =
        c == 0xFFFC || (c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE;
    return isControl || isDirection || isTextEngines;
}

void requireSafe(const QString& text, QStringView lineBreaks)
{
    require(text.isValidUtf16(), "what is shown is text");
    int marks = 0;
    for (const char32_t c : text.toUcs4()) {
        require(!isForbidden(c), "no forbidden character is shown");
        const bool isLineBreak = c == U'\n' || c == U'\u2028' || c == U'\u2029';
        require(!isLineBreak || lineBreaks.contains(QChar(static_cast<char16_t>(c))),
                "a line ends only where it may");
        marks = QChar::category(c) == QChar::Mark_NonSpacing ? marks + 1 : 0;
        require(marks <= 8, "marks do not stack up");
    }
}

void check(const QString& text, int count)
{
    const QString shown = ShownText::shown(text);
    requireSafe(shown, u"\u2028");
    require(ShownText::shown(shown) == shown, "what is safe stays as it is");
    requireSafe(ShownText::line(text), {});

    const QString line = ShownText::line(text, count);
    requireSafe(line, {});
    require(line.size() <= count + 1, "a line is as long as it may be");
    const QString item = ShownText::menuItem(text, count);
    require(QString(item).remove("&&"_L1).count(u'&') == 0, "no letter of a menu is a shortcut");

    const QString tip = ShownText::toolTip(text);
    requireSafe(tip, u"\n");
    const bool isMarkup = tip.startsWith("<p style="_L1) && tip.count(u'<') == 2;
    require(isMarkup || !Qt::mightBeRichText(tip), "nobody else's markup is shown");
    const QString first = ShownText::firstCharacters(text, count);
    require(text.startsWith(first) && (first.isValidUtf16() || !text.isValidUtf16()),
            "the first characters begin the text, and are whole");
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
    check(text, data[0] % 128 + 1);
    return 0;
}

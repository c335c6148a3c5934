#include "localisation/ShownText.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <unicode/ubrk.h>
#include <unicode/uchar.h>

using namespace Qt::StringLiterals;

namespace {

// Vietnamese, Hebrew with its accents and Tibetan need fewer.
constexpr int kMostMarks = 8;
constexpr qsizetype kLongestToolTip = 10'000;
// A tool tip that is higher than the screen loses its beginning, or does not come up at all.
constexpr qsizetype kMostToolTipBreaks = 20;
// A tool tip's line up to this length needs no wrapping.
constexpr qsizetype kToolTipLine = 80;
// Where the start of a text is shown, no more of it is read: cleaning the rest would only cost
// time.
constexpr qsizetype kMostRead = 2 * kLongestToolTip;

// A line feed, a vertical tab, a form feed, a carriage return, or one of Unicode's.
bool isLineBreak(char32_t c)
{
    return (c >= U'\n' && c <= U'\r') || c == 0x0085 || c == 0x2028 || c == 0x2029;
}

// An explicit direction change, or one of the controls that Unicode deprecates.
bool isDirectionChange(char32_t c)
{
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x206F);
}

// The text engine marks objects and frames with some of these.
bool isNoCharacter(char32_t c)
{
    return QChar::isNonCharacter(c) || (c >= 0xFFF9 && c <= 0xFFFC) ||
           (c != U'\t' && QChar::category(c) == QChar::Other_Control);
}

bool isStackingMark(char32_t c)
{
    const QChar::Category category = QChar::category(c);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
}

bool leavesInk(char32_t c)
{
    // The empty Braille pattern, a note without a head, and blanks between hieroglyphs.
    const bool isBlank = c == 0x2800 || c == 0x1D159 || c == 0x13441 || c == 0x13442;
    return !isBlank && (QChar::isLetterOrNumber(c) || QChar::isPunct(c) || QChar::isSymbol(c)) &&
           u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_DEFAULT_IGNORABLE_CODE_POINT) == 0;
}

QString clean(const QString& text, char16_t lineBreak)
{
    QString result;
    result.reserve(text.size());
    int marks = 0;
    char32_t before = 0;
    for (const char32_t c : text.toUcs4()) {
        const bool endsBreak = std::exchange(before, c) == U'\r' && c == U'\n';
        if (isStackingMark(c)) {
            ++marks;
        } else if (QChar::category(c) != QChar::Other_Format) {
            marks = 0;
        }
        if (isDirectionChange(c) || endsBreak || (isStackingMark(c) && marks > kMostMarks)) {
            continue;
        }
        // In a menu a tab would separate a shortcut.
        if (isLineBreak(c) || (c == U'\t' && lineBreak == u' ')) {
            result += QChar(lineBreak);
        } else if (isNoCharacter(c)) {
            result += QChar(QChar::ReplacementCharacter);
        } else {
            result += QStringView(QChar::fromUcs4(c));
        }
    }
    return result;
}

// Walks a text's characters as a person counts them (grapheme clusters, UAX #29), until the next
// call on this thread. ICU's iterator, since Qt's own splits other characters within Thai
// text, even surrogate pairs.
UBreakIterator* charactersOf(QStringView text)
{
    UErrorCode status = U_ZERO_ERROR;
    thread_local const std::unique_ptr<UBreakIterator, decltype(&ubrk_close)> characters(
        ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status), &ubrk_close);
    ubrk_setText(characters.get(), text.utf16(), static_cast<int32_t>(text.size()), &status);
    return characters.get();
}

// The end of the last whole character within the first `limit` units of a longer text. A longer
// character is cut, but never inside a surrogate pair.
qsizetype lastCharacterEnd(QStringView text, qsizetype limit)
{
    const auto whole = static_cast<int32_t>(limit - (text.at(limit - 1).isHighSurrogate() ? 1 : 0));
    // A few code units more show whether the last character goes on.
    UBreakIterator* const characters = charactersOf(text.first(std::min(text.size(), limit + 32)));
    const qsizetype end =
        ubrk_isBoundary(characters, whole) != 0 ? whole : ubrk_preceding(characters, whole);
    return end > 0 ? end : whole;
}

// At the last line break, if that is in the piece's second half, else at the last place where a
// line may break: a long address is cut only where it is longer than a piece.
qsizetype endOfFirstPiece(QStringView text)
{
    constexpr qsizetype kHalf = ShownText::kLongestPiece / 2;
    const QStringView longest = text.first(ShownText::kLongestPiece);
    const qsizetype lineEnd = longest.lastIndexOf(QChar(QChar::LineSeparator));
    const qsizetype end = lineEnd >= kHalf ? lineEnd : std::max(lineEnd, longest.lastIndexOf(u' '));
    return end >= 0 ? end + 1 : lastCharacterEnd(text, ShownText::kLongestPiece);
}

QString start(const QString& text, char16_t lineBreak, qsizetype longest)
{
    QString result = clean(text.left(kMostRead), lineBreak);
    if (result.size() > longest) {
        result.truncate(lastCharacterEnd(result, longest));
    } else if (text.size() <= kMostRead) {
        return result;
    }
    return result + u'…';
}

// Puts a zero width space, at which a line may break, into long runs without a blank.
QString breakable(QStringView text)
{
    QString result;
    while (text.size() > kToolTipLine) {
        const QStringView head = text.first(kToolTipLine + 1);
        const auto blank =
            std::find_if(head.crbegin(), head.crend(), [](QChar c) { return c.isSpace(); });
        if (blank != head.crend()) {
            result += head.first(head.crend() - blank);
            text = text.sliced(head.crend() - blank);
        } else {
            const qsizetype end = lastCharacterEnd(text, kToolTipLine);
            result += text.first(end);
            result += QChar(0x200b);
            text = text.sliced(end);
        }
    }
    result += text;
    return result;
}

} // namespace

bool ShownText::isSeen(QStringView name)
{
    const auto start = name.first(std::min<qsizetype>(name.size(), 16)).toUcs4().mid(0, 8);
    return std::ranges::any_of(start, &leavesInk);
}

QString ShownText::shown(const QString& text)
{
    return clean(text, QChar::LineSeparator);
}

QString ShownText::line(const QString& text)
{
    return clean(text, u' ');
}

QString ShownText::line(const QString& text, qsizetype longest)
{
    return start(text, u' ', longest);
}

QString ShownText::toolTip(const QString& text)
{
    QString tip = start(text, u'\n', kLongestToolTip);
    if (tip.count(u'\n') > kMostToolTipBreaks) {
        tip.replace(u'\n', u'↵');
    }
    // The toolkit looks for markup in the first line.
    const QString first = tip.left(tip.indexOf(u'\n'));
    if (tip.size() <= kToolTipLine && !first.contains(u'<') && !first.contains(u'&')) {
        return tip;
    }
    return u"<p style=\"white-space:pre-wrap\">%1</p>"_s.arg(breakable(tip).toHtmlEscaped());
}

QString ShownText::firstCharacters(const QString& text, qsizetype count)
{
    if (text.size() <= count) {
        return text;
    }
    UBreakIterator* const characters = charactersOf(text);
    for (qsizetype i = 0; i < count; ++i) {
        if (ubrk_next(characters) == UBRK_DONE) {
            return text;
        }
    }
    return text.first(ubrk_current(characters));
}

QList<ShownText::Piece> ShownText::pieces(QStringView shown)
{
    QList<Piece> result;
    while (shown.size() > kLongestPiece) {
        const qsizetype end = endOfFirstPiece(shown);
        const bool endsLine = shown.at(end - 1) == QChar::LineSeparator;
        result.append({shown.first(endsLine ? end - 1 : end), endsLine});
        shown = shown.sliced(end);
    }
    result.append({shown, false});
    return result;
}

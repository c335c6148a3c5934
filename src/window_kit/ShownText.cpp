#include "window_kit/ShownText.h"

#include <optional>

#include <QTextBoundaryFinder>

namespace {

// Vietnamese, Hebrew with its accents and Tibetan get by with fewer.
constexpr int kMostMarks = 8;

bool isLineBreak(char32_t c)
{
    switch (c) {
    case U'\n':
    case U'\v':
    case U'\f':
    case U'\r':
    case U'\u0085':
    case U'\u2028':
    case U'\u2029':
        return true;
    default:
        return false;
    }
}

// Explicit direction changes, and the controls that Unicode itself has given up.
bool isInvisibleOrder(char32_t c)
{
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x206F);
}

// What stands for no character: the text engine keeps objects and frames in some of these.
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

// Goes through a text and writes down what can be shown of it.
class Cleaner {
public:
    explicit Cleaner(char16_t lineBreak) : m_lineBreak(lineBreak) {}

    QString clean(const QString& text)
    {
        m_result.reserve(text.size());
        for (const char32_t c : text.toUcs4()) {
            take(c);
        }
        return std::move(m_result);
    }

private:
    void take(char32_t c)
    {
        const bool isAfterReturn = std::exchange(m_isAfterReturn, c == U'\r');
        if (isInvisibleOrder(c) || (c == U'\n' && isAfterReturn)) {
            return;
        }
        if (isStackingMark(c)) {
            if (++m_marks > kMostMarks) {
                return;
            }
        } else if (QChar::category(c) != QChar::Other_Format) {
            m_marks = 0;
        }
        if (isLineBreak(c)) {
            m_result += QChar(m_lineBreak);
        } else if (isNoCharacter(c)) {
            m_result += QChar(QChar::ReplacementCharacter);
        } else {
            m_result += QStringView(QChar::fromUcs4(c));
        }
    }

    const char16_t m_lineBreak;
    QString m_result;
    int m_marks = 0;
    bool m_isAfterReturn = false;
};

// Where the piece at the front of a longer text is to end.
qsizetype endOfPiece(QStringView text)
{
    const QStringView reach = text.first(ShownText::kLongestPiece);
    const QStringView secondHalf = reach.sliced(ShownText::kLongestPiece / 2);
    for (const QChar breakable : {QChar(QChar::LineSeparator), QChar(u' ')}) {
        const qsizetype found = secondHalf.lastIndexOf(breakable);
        if (found >= 0) {
            return ShownText::kLongestPiece / 2 + found + 1;
        }
    }
    // A few more code units, to see whether the last character goes on behind the reach.
    const QStringView seen = text.first(qMin(text.size(), ShownText::kLongestPiece + 32));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, seen.data(), seen.size());
    finder.setPosition(ShownText::kLongestPiece);
    const qsizetype boundary =
        finder.isAtBoundary() ? finder.position() : finder.toPreviousBoundary();
    if (boundary > 0) {
        return boundary;
    }
    return ShownText::kLongestPiece - (reach.back().isHighSurrogate() ? 1 : 0);
}

} // namespace

QString ShownText::firstCharacters(const QString& text, qsizetype count)
{
    if (text.size() <= count) {
        return text;
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype i = 0; i < count; ++i) {
        if (finder.toNextBoundary() < 0) {
            return text;
        }
    }
    return text.first(finder.position());
}

QString ShownText::shown(const QString& text)
{
    return Cleaner(QChar::LineSeparator).clean(text);
}

QString ShownText::shownInLine(const QString& text)
{
    return Cleaner(u' ').clean(text);
}

QList<ShownText::Piece> ShownText::pieces(QStringView shown)
{
    QList<Piece> result;
    while (shown.size() > kLongestPiece) {
        const qsizetype end = endOfPiece(shown);
        const bool endsLine = shown.at(end - 1) == QChar::LineSeparator;
        result.append({shown.first(endsLine ? end - 1 : end), endsLine});
        shown = shown.sliced(end);
    }
    result.append({shown, false});
    return result;
}

#include "window_kit/PlainText.h"

#include <algorithm>

#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace {

// A tool tip of more characters than this stops being one.
constexpr qsizetype kLongestToolTip = 10'000;
// Up to here a line needs no wrapping.
constexpr qsizetype kLineOfToolTip = 80;

// Puts places to break a line at into runs without a blank, which a tool tip would show as one line
// of any width.
QString breakable(const QString& text)
{
    constexpr QChar kZeroWidthSpace(0x200b);
    QString result;
    qsizetype run = 0;
    for (const QChar c : text) {
        run = c.isSpace() ? 0 : run + 1;
        if (run > kLineOfToolTip && !c.isLowSurrogate() && !c.isMark()) {
            result += kZeroWidthSpace;
            run = 1;
        }
        result += c;
    }
    return result;
}

} // namespace

QString PlainText::toolTip(const QString& text)
{
    if (text.size() <= kLineOfToolTip && !Qt::mightBeRichText(text)) {
        return text;
    }
    QString shown = text.left(kLongestToolTip);
    if (shown.size() < text.size()) {
        shown += u'…';
    }
    shown = breakable(shown);
    return u"<p style=\"white-space:pre-wrap\">%1</p>"_s.arg(shown.toHtmlEscaped());
}

QString PlainText::singleLine(const QString& text)
{
    QString line = text;
    std::replace_if(
        line.begin(), line.end(),
        [](QChar c) {
            return c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
                   c == QChar::ParagraphSeparator;
        },
        QChar(u' '));
    return line;
}

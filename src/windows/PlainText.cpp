#include "windows/PlainText.h"

#include <algorithm>

#include <QTextDocument>

namespace {

// A tool tip of more characters than this stops being one.
constexpr qsizetype kLongestToolTip = 10'000;
// Up to here a line needs no wrapping.
constexpr qsizetype kLineOfToolTip = 80;

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
    return QStringLiteral("<p style=\"white-space:pre-wrap\">%1</p>").arg(shown.toHtmlEscaped());
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

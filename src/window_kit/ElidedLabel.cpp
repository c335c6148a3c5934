#include "window_kit/ElidedLabel.h"

#include "localisation/ShownText.h"

#include <QEvent>
#include <QFontMetrics>

namespace {

// Laying out more would only cost time: no window shows so much in one line.
constexpr qsizetype kLongestLine = 1'000;
constexpr qsizetype kMostSpoken = 1'000;

} // namespace

void setPlainToolTip(QWidget& widget, const QString& text)
{
    widget.setToolTip(text.isEmpty() ? QString() : ShownText::toolTip(text));
    widget.setAccessibleDescription(ShownText::shown(text.left(kMostSpoken)));
}

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::setFullText(const QString& text)
{
    if (accessibleName() == text) { // readers would hear of it again
        return;
    }
    setAccessibleName(text);
    elide();
    updateGeometry();
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

QSize ElidedLabel::sizeHint() const
{
    const QString line = ShownText::line(accessibleName(), kLongestLine);
    return {fontMetrics().horizontalAdvance(line), QLabel::sizeHint().height()};
}

bool ElidedLabel::event(QEvent* event)
{
    const bool result = QLabel::event(event);
    if (event->type() == QEvent::Resize || event->type() == QEvent::FontChange) {
        elide();
    }
    return result;
}

void ElidedLabel::elide()
{
    const QString line = ShownText::line(accessibleName(), kLongestLine);
    const QString shown = fontMetrics().elidedText(line, Qt::ElideRight, contentsRect().width());
    setText(shown);
    const bool isCut = shown != line || accessibleName().size() > kLongestLine;
    setPlainToolTip(*this, isCut ? ShownText::line(accessibleName()) : QString());
}

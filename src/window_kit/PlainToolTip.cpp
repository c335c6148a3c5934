#include "window_kit/PlainToolTip.h"

#include "localisation/ShownText.h"

#include <QWidget>

namespace {

constexpr qsizetype kMostSpoken = 1'000;

} // namespace

void setPlainToolTip(QWidget& widget, const QString& text)
{
    widget.setToolTip(text.isEmpty() ? QString() : ShownText::toolTip(text));
    widget.setAccessibleDescription(ShownText::shown(text.left(kMostSpoken)));
}

#include "window_kit/FittingText.h"

#include <QFont>
#include <QFontMetrics>
#include <QLabel>

namespace {

constexpr qreal kSmallest = 8; // points

} // namespace

void fitText(QLabel& label, const QFont& largest)
{
    QFont fitting = largest;
    const auto hasRoom = [&] {
        const QRect room = label.contentsRect();
        return room.contains(QFontMetrics(fitting).boundingRect(
            room, static_cast<int>(label.alignment()) | Qt::TextWordWrap, label.text()));
    };
    while (fitting.pointSizeF() > kSmallest && !hasRoom()) {
        fitting.setPointSizeF(fitting.pointSizeF() - 0.5);
    }
    if (label.font() != fitting) {
        label.setFont(fitting);
    }
}

#include "chat/ChatPlacement.h"

#include <algorithm>

namespace {

constexpr int kMargin = 24;
constexpr int kStep = 32; // about a title bar

} // namespace

QPoint ChatPlacement::next(const QRect& available, QSize frame, const QList<QPoint>& taken)
{
    const QPoint last(std::max(available.left(), available.right() + 1 - frame.width()),
                      std::max(available.top(), available.bottom() + 1 - frame.height()));
    const QPoint first(
        std::min(available.left() + kMargin, last.x()),
        std::clamp(available.top() + (available.height() - frame.height()) / 2 - 2 * kStep,
                   available.top(), last.y()));
    const auto isTaken = [&](const QPoint& place) {
        return std::any_of(taken.cbegin(), taken.cend(), [&](const QPoint& other) {
            return (other - place).manhattanLength() < kStep;
        });
    };
    // A row of steps that reaches the screen's end is gone through again, half a step aside.
    QPoint place = first;
    for (qsizetype tried = 0; tried <= taken.size() && isTaken(place); ++tried) {
        place += QPoint(kStep, kStep);
        if (place.y() > last.y()) {
            place.setY(available.top());
        }
        if (place.x() > last.x()) {
            place.setX(first.x());
        }
    }
    return place;
}

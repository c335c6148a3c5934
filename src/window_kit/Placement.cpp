#include "window_kit/Placement.h"

#include <algorithm>

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace {

// The frame is there only when the window is; until then this is reckoned for it.
constexpr QSize kFrame(8, 32);
constexpr int kStep = 32;
// More windows than anybody looks at; beyond, they hide each other.
constexpr int kPlaces = 100;

// What the room has to spare around the window.
QSize spare(const QRect& room, const QSize& window)
{
    return (room.size() - window - kFrame).expandedTo(QSize(0, 0));
}

} // namespace

QRect Placement::room()
{
    const QScreen* const pointed = QGuiApplication::screenAt(QCursor::pos());
    const QScreen* const screen = pointed != nullptr ? pointed : QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->availableGeometry() : QRect();
}

QPoint Placement::centre(const QRect& room, const QSize& window)
{
    const QSize left = spare(room, window) / 2;
    return room.topLeft() + QPoint(left.width(), left.height());
}

QPoint Placement::cascade(const QRect& room, const QSize& window, const QList<QPoint>& others)
{
    if (others.isEmpty()) {
        return centre(room, window);
    }
    const QPoint last = others.constLast() - room.topLeft();
    const QSize range = spare(room, window) + QSize(1, 1);
    QPoint place;
    for (int number = 1; number <= kPlaces; ++number) {
        place = room.topLeft() + QPoint(std::max(last.x() + number * kStep, 0) % range.width(),
                                        std::max(last.y() + number * kStep, 0) % range.height());
        const bool isTaken =
            std::any_of(others.cbegin(), others.cend(), [place](const QPoint& other) {
                return (other - place).manhattanLength() < kStep;
            });
        if (!isTaken) {
            break;
        }
    }
    return place;
}

bool Placement::isInSight(const QWidget& window)
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    return std::any_of(screens.cbegin(), screens.cend(), [&](const QScreen* screen) {
        return screen->geometry().contains(window.frameGeometry());
    });
}

#include "window_kit/Placement.h"

#include <QApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace {

// A frame's usual size: the window manager adds the frame only when it shows the window.
constexpr QSize kFrame(8, 32);
constexpr int kStep = 32; // a title bar's height
constexpr int kMargin = 24;
// Windows beyond this number cover each other.
constexpr int kMostPlaces = 100;

// How far a window can be moved inside the area.
QSize spare(const QRect& area, const QSize& window)
{
    return (area.size() - window - kFrame).expandedTo(QSize(0, 0));
}

} // namespace

QRect Placement::availableArea()
{
    const QScreen* const pointed = QGuiApplication::screenAt(QCursor::pos());
    const QScreen* const screen = pointed != nullptr ? pointed : QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->availableGeometry() : QRect();
}

QPoint Placement::centre(const QRect& area, const QSize& window)
{
    const QSize half = spare(area, window) / 2;
    return area.topLeft() + QPoint(half.width(), half.height());
}

QPoint Placement::leftSide(const QRect& area, const QSize& window)
{
    const QSize range = spare(area, window);
    return area.topLeft() +
           QPoint(std::min(kMargin, range.width()), std::max(range.height() / 2 - 2 * kStep, 0));
}

QPoint Placement::cascade(const QRect& area, const QWidget& window, const QPoint& first)
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    const QSize range = spare(area, window.size()) + QSize(1, 1);
    const QPoint start = first - area.topLeft();
    QPoint place;
    for (int step = 0; step < kMostPlaces; ++step) {
        place = area.topLeft() + QPoint((start.x() + step * kStep) % range.width(),
                                        (start.y() + step * kStep) % range.height());
        const bool isTaken =
            std::any_of(windows.cbegin(), windows.cend(), [&](const QWidget* other) {
                return other != &window && other->isVisible() &&
                       other->metaObject() == window.metaObject() &&
                       (other->pos() - place).manhattanLength() < kStep;
            });
        if (!isTaken) {
            break;
        }
    }
    return place;
}

#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

class QWidget;

// Where windows come up that have no place of their own. Main thread.
namespace Placement {

// What panels leave free of the screen that the person is at: the one with the pointer, else the
// primary one.
[[nodiscard]] QRect room();

// The top left corner (of the window with its frame) that puts a window into the room's middle.
[[nodiscard]] QPoint centre(const QRect& room, const QSize& window);

// Likewise for one window among several, the newest of which is the last: a step down and to the
// right of that one, or as many steps as lead to a place at which none of them stands. Who comes to
// the room's end goes on at its beginning.
[[nodiscard]] QPoint cascade(const QRect& room, const QSize& window, const QList<QPoint>& others);

// Whether the whole window lies on one screen.
[[nodiscard]] bool isInSight(const QWidget& window);

} // namespace Placement

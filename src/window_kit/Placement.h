#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

class QWidget;

// Where windows come up that have no place of their own. Main thread.
//
// A place is the top left corner of a window's frame; a size is the window's own, without the
// frame. A window that is larger than the area comes up at the area's top left corner, where its
// title bar can be reached.
namespace Placement {

// What panels leave free of the screen with the pointer, else of the primary screen.
[[nodiscard]] QRect availableArea();

[[nodiscard]] QPoint centre(const QRect& area, const QSize& window);

// At the left and a little above the middle, so that the window covers neither the questions in the
// middle nor the sessions at the right.
[[nodiscard]] QPoint leftSide(const QRect& area, const QSize& window);

// For a window that may be one of several: the first place that no shown one of its class has
// taken, going from the given place down and to the right by the height of a title bar. It wraps at
// the area's edges.
[[nodiscard]] QPoint cascade(const QRect& area, const QWidget& window, const QPoint& first);

} // namespace Placement

#pragma once

#include <QList>
#include <QPoint>
#include <QRect>

// Where a chat window comes up on its screen. Any thread.
namespace ChatPlacement {

// The place for a window's frame: at the left of the screen, so that it covers neither the
// questions in the middle nor the sessions at the right, and each one further down and to the right
// than those that are there already.
[[nodiscard]] QPoint next(const QRect& available, QSize frame, const QList<QPoint>& taken);

} // namespace ChatPlacement

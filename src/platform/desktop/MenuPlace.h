#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

// Where a menu of the status bar's icon opens. Main thread. Internal to the platform.
namespace MenuPlace {

// The menu's top left corner: below the icon, or above it where the screen ends.
[[nodiscard]] QPoint at(const QRect& icon, const QSize& menu, const QRect& screen);

// The same for an icon that another program shows: it lies under the user's pointer, or else,
// where the pointer's place is not known (native Wayland), where that program says. The menu
// covers no panel.
[[nodiscard]] QPoint inHost(QPoint told, const QSize& menu);

} // namespace MenuPlace

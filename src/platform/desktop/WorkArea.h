#pragma once

#include <QMargins>

// What panels and frames take of the screen.
namespace WorkArea {

// The room to leave at the screen's edges where the window manager tells neither what panels take
// nor how wide its frames are (EWMH's _NET_WORKAREA and _NET_FRAME_EXTENTS), as XWayland's own does
// in some compositors: as much as is usual. None where it tells one of them, or where there is no
// window manager. Main thread.
[[nodiscard]] QMargins untold();

} // namespace WorkArea

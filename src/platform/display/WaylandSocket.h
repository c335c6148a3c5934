#pragma once

#include "platform/files/Descriptor.h"

// The compositor of WAYLAND_DISPLAY. Any thread.
namespace WaylandSocket {

// A connection that does not wait; closed where the compositor refuses, or hangs with a full queue.
[[nodiscard]] Descriptor connect();

} // namespace WaylandSocket

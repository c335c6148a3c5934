#pragma once

#include <QString>

// What the environment calls the user's display; empty where it names none. Any thread.
namespace DisplayEnvironment {

// The X server of DISPLAY, without the number of a screen: all its screens are one desktop.
[[nodiscard]] QString x11();

// The compositor of WAYLAND_DISPLAY.
[[nodiscard]] QString wayland();

} // namespace DisplayEnvironment

#pragma once

#include <chrono>

// The control group (systemd.scope(5)) that a desktop makes for each program that it starts.
namespace DesktopScope {

// Waits until this process is in its own, or for that time. At once on a desktop that starts
// programs without one, or inside of it: only GNOME moves them there a moment later. What is
// started before the move stays outside, and is not ended with the rest.
void await(std::chrono::milliseconds limit);

} // namespace DesktopScope

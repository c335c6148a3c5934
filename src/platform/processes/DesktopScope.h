#pragma once

#include <chrono>

// Waits until this process is in the control group (systemd.scope(5)) that a desktop makes for each
// program that it starts, or for that time. At once on a desktop that starts programs without one,
// or inside of it: only GNOME moves them there a moment later. What is started before the move
// stays outside, and is not ended with the rest.
void awaitDesktopScope(std::chrono::milliseconds limit);

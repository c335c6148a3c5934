#pragma once

#include <chrono>

// Whether the X server of DISPLAY takes this program, and what it offers. Internal to the platform.
namespace XServerQuestion {

struct Answer {
    bool isReachable = false;
    // Somebody owns the selection of the System Tray Protocol (freedesktop.org) on the screen.
    bool hasTray = false;
};

// Waits no longer than the limit: a process of its own asks, for XCB would wait for a server that
// hangs without a limit. Only while this process has one thread.
[[nodiscard]] Answer ask(std::chrono::milliseconds limit);

} // namespace XServerQuestion

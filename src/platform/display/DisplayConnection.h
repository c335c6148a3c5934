#pragma once

#include "platform/files/Descriptor.h"

#include <QString>

#include <chrono>

struct xcb_connection_t;

// A connection to the user's display that shows nothing and asks for nothing: it ends when the
// display goes, as at the log-out. The display is the Wayland compositor that WAYLAND_DISPLAY
// names, else, also where that one does not answer, the X server of DISPLAY; where both are there,
// the X server is the compositor's own and may come and go. One thread.
class DisplayConnection {
public:
    DisplayConnection() = default;
    ~DisplayConnection();

    // What the environment calls the display, without the number of an X screen; empty where it
    // names none.
    [[nodiscard]] static QString name();

    // The name of the lock that the display's keeper holds (see SessionLock).
    [[nodiscard]] static QString keeperLock();

    // Connects, and tries again for `limit` while nobody answers or the display refuses. Waits
    // longer for an X server that has taken the connection and hangs. Called once.
    [[nodiscard]] bool open(std::chrono::milliseconds limit);

    // Waits for that time, or until the display has gone, and returns whether it has. A display
    // that hangs is not gone. Only once open.
    [[nodiscard]] bool isGoneWithin(std::chrono::milliseconds time);

    // A connection to the compositor of WAYLAND_DISPLAY that does not wait; closed where there is
    // none, or where it refuses or hangs with a full queue.
    [[nodiscard]] static Descriptor connectToWayland();

private:
    [[nodiscard]] bool isThere();

    Descriptor m_wayland; // where that is closed, the X server is connected
    xcb_connection_t* m_x11 = nullptr;
};

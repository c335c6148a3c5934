#pragma once

#include <QString>
#include <QStringList>

// What the desktop offers to the program, for a diagnosis of what is missing. Asking shows, owns
// and changes nothing.
struct DesktopFacts {
    enum class Display {
        NotNamed,    // neither DISPLAY nor WAYLAND_DISPLAY is set
        Unreachable, // it refuses, or does not answer within a second
        Unsupported, // a Wayland compositor for which the toolkit's part is missing
        Reachable,
    };

    // Asks the display for at most a second, and the session bus likewise. Leaves a thread behind
    // where an X server hangs.
    [[nodiscard]] static DesktopFacts gather();

    Display display = Display::NotNamed;
    QString displayName;      // the display that the program would use
    QStringList desktopNames; // XDG_CURRENT_DESKTOP: "ubuntu", "GNOME"

    bool isBusNamed = false; // whether the environment says where a session bus would be
    bool hasBus = false;     // one answers
    // A host of freedesktop.org's StatusNotifierItem, or a tray of its System Tray Protocol.
    bool showsStatusIcons = false;
    // A service of its Desktop Notifications Specification that runs, or that the bus would start.
    bool showsNotifications = false;
};

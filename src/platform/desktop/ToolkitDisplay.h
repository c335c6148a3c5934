#pragma once

#include <QStringView>

#include <atomic>
#include <vector>

// Which display server the toolkit connects to, and whether it has gone.
namespace ToolkitDisplay {

// The program's arguments, with Qt's option for X11 (also XWayland) behind the program's name where
// the environment names an X server and no other platform; native Wayland comes next, for where no
// server answers. A window that comes up by itself must be able to stand above the others and ask
// for the keyboard, which native Wayland lets no program do. As an argument, because the programs
// that we start inherit the environment. Before the application object exists.
[[nodiscard]] std::vector<char*> preferX11(std::vector<char*> arguments);

// How the last message of the toolkit's Wayland part begins: the compositor has gone, or has
// disconnected the program. It calls _exit() next, which runs no exit handler. (Its X11 part calls
// exit().)
inline constexpr QStringView kLastMessage = u"The Wayland connection";

// Set by whoever learns that the server has gone, or has disconnected the program: no call to it
// works any more. Any thread.
inline std::atomic<bool> isGone = false;

} // namespace ToolkitDisplay

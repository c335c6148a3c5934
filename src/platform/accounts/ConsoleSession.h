#pragma once

#include <QString>

#include <optional>

// The session at the machine's own screen, as logind tells it over the system bus
// (org.freedesktop.login1(5)). Each question takes half a second at the most; no logind, no seat
// and no answer in time count as nobody at the console and an unlocked screen. Any thread.
namespace ConsoleSession {

// The login name of the user of seat0's active session; "loginwindow" while that session is a
// greeter's.
[[nodiscard]] std::optional<QString> consoleUser();

// Whether the screen of the program's own session is locked (LockedHint). The own session is the
// one that XDG_SESSION_ID names, else the one that the process belongs to, else seat0's active one.
[[nodiscard]] bool isScreenLocked();

} // namespace ConsoleSession

#pragma once

#include <QString>

#include <optional>

// The session at the machine's own screen, as logind knows it (org.freedesktop.login1(5), on the
// system bus). Each question takes at most half a second. Without logind, a seat or an answer in
// time nobody is at the console and the screen is not locked. Any thread.
namespace ConsoleSession {

// The login name of the user of seat0's active session; "loginwindow" where that session is a
// greeter.
[[nodiscard]] std::optional<QString> consoleUser();

// The object path of the program's own session: the one that XDG_SESSION_ID names, else that of the
// process, else seat0's active one, else the person's main one (as where the systemd user manager
// starts the agent while another user is at the seat). Each counts only if it is a session of this
// person's with a screen, for a locked screen accepts requests.
[[nodiscard]] std::optional<QString> ownSession();

// Whether the screen of the program's own session is locked (LockedHint).
[[nodiscard]] bool isScreenLocked();

} // namespace ConsoleSession

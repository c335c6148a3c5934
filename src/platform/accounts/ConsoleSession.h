#pragma once

#include <QString>

#include <functional>
#include <optional>

// The session at the machine's own screen, as logind knows it (org.freedesktop.login1(5), on the
// system bus). Each question takes at most half a second. Any thread.
namespace ConsoleSession {

// The login name of the user of seat0's active session; "loginwindow" where the program's own
// session is a greeter's, or can't be found and seat0's active one is a greeter's. None without
// logind, a seat, or a reply in time.
[[nodiscard]] std::optional<QString> consoleUser();

enum class Screen {
    Unknown,   // logind does not reply in time, or not as documented
    NoSession, // it knows no desktop session of the user's
    Unlocked,
    Locked,
    LockedBehindAnother, // and another user's session is seat0's active one
};
// The screen of the program's own session (LockedHint): of the session that XDG_SESSION_ID names,
// else that of the process, else seat0's active one, else the user's main one (as where the systemd
// user manager starts the agent while another user is at the seat). Each counts only if it is a
// session of this user's with a screen, for a locked screen accepts requests. No greeter counts as
// another user.
Screen screen();

// Tells, on the main thread, whether the screen is locked: the first reply to screen(), and each
// that differs from the one before, whoever has asked, in the order of the replies. So
// the lock is told before anything that was decided by it. "Unknown" changes
// nothing.
//
// Asks at once, whenever logind says that something has changed, and when it or the bus comes back
// (the bus within half a minute). After MainQueue::attach(); where there are several calls, the
// last one's `tell` counts.
void followLock(std::function<void(bool)> tell);

} // namespace ConsoleSession

#pragma once

#include <QMargins>
#include <QtGlobal>

class QWidget;

// Bringing a window before the user.
//
// A floating window stays on top of ordinary ones. Activation (the keyboard) is asked of the window
// manager with the true time of the user's last action in this program (EWMH _NET_ACTIVE_WINDOW
// and _NET_WM_USER_TIME), so that a desktop that guards the focus can tell a window that the user
// asked for from one that comes by itself. Main thread, where nothing else is said.
namespace WindowActivation {

// Watches the user's own input to the program's windows from now on. Once, after the application
// object exists.
void watchInput();

// Notes an action of the user that reached the program by another way than its windows, with the
// X server's time in milliseconds (a click in a status bar's menu, told over the bus). Counts as
// now where it is zero (not known), in the future (the window manager would refuse every later
// window) or more than a minute old (some hosts tell another clock's time).
void noteAction(quint32 serverTime);

// Shows the window at the floating level, above others, and asks for the keyboard. Does nothing
// after stop(). Some window managers activate what is raised, whatever the user does elsewhere: a
// window that is shown already can be left where it is.
void present(QWidget* window, bool isRaised = true);

// Shows the window without asking for the keyboard: a window that is shown already stays where it
// is, and the window manager decides about a new one.
void show(QWidget* window);

// Whether the user may be at work in another program: its window says that it was used later than
// this program (EWMH _NET_WM_USER_TIME, which not all window managers look at), or does not say.
// Programs on Wayland itself say nothing, and an X server does not show them.
[[nodiscard]] bool mayUserBeElsewhere();

// Marks a window that the user is not in as wanting attention, until they are: by EWMH's
// _NET_WM_STATE_DEMANDS_ATTENTION and by ICCCM's older hint, which is all that some know.
void demandAttention(QWidget* window);

// Puts a window that is shown above another one, without moving the keyboard focus: by EWMH's
// _NET_RESTACK_WINDOW, for some window managers activate what is merely raised. Where the window
// manager has none, dialogs stay above the program's other windows by themselves (ICCCM's
// WM_TRANSIENT_FOR).
void putAbove(QWidget* window, QWidget* other);

// The same for a window that has just come up and must be seen: where the window manager can't
// restack, and has put it below, it asks for the keyboard. (Some have one order for both.)
void bringAbove(QWidget* window, QWidget* other);

// Where programs can't restack their windows (native Wayland, tiling window managers), shows a
// window anew, which puts it in front of the others; unless the window manager tells that it is
// above the other one, which has just come up. Elsewhere, and under any window manager without
// another one, it does nothing. `tries`: how often it waits for the other one to be on the screen.
void showAnew(QWidget* window, QWidget* other, int tries = 20);

// Whether the user can see the window now: it is shown, not minimised, on the current workspace and
// below no full-screen one (of any monitor). A window needs a moment to get there.
[[nodiscard]] bool isInSight(const QWidget& window);

// From now on no window comes up any more: the program is ending. Any thread.
void stop();

// Takes all windows off the screen, at once under an X server, else when the event loop goes on.
void hideAll();

// The margins to leave at the screen's edges where the window manager tells neither what panels
// take nor how wide its frames are (EWMH's _NET_WORKAREA and _NET_FRAME_EXTENTS), as XWayland's own
// does in some compositors: as much as is usual. None where it tells one of them, or where there is
// no window manager.
[[nodiscard]] QMargins untoldMargins();

} // namespace WindowActivation

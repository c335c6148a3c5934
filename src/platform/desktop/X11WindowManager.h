#pragma once

#include <QtGlobal>

#include <optional>

class QWidget;

// Requests to the window manager of an X server (EWMH, ICCCM) about windows of this program.
// Without an X server they do nothing. Main thread. Internal to the platform.
namespace X11WindowManager {

// Asks for the keyboard, with the X server's time of the person's last action.
void askForActivation(const QWidget& window, quint32 time);

// The time of the person's last action in the window with the keyboard, any program's (EWMH
// _NET_WM_USER_TIME); none where that is not told.
[[nodiscard]] std::optional<quint32> useOfActiveWindow();

// Whether it keeps the order of windows that is asked for. Each call asks the window manager, which
// may be another one by then.
[[nodiscard]] bool canRestack();
// Puts the window above the other one.
void restack(const QWidget& window, const QWidget& other);
// As far as the window manager tells the order.
[[nodiscard]] bool isListedBelow(const QWidget& window, const QWidget& other);

// ICCCM's UrgencyHint.
void setUrgency(const QWidget& window, bool isUrgent);

} // namespace X11WindowManager

#pragma once

#include <QByteArray>
#include <QList>
#include <QtGlobal>

#include <array>
#include <cstdlib>
#include <memory>
#include <optional>

class QWidget;
struct xcb_connection_t;
struct xcb_screen_t;

// The X server and its window manager (EWMH, ICCCM), by the toolkit's own connection. Without an X
// server nothing is known and nothing is done. Main thread. Internal to the platform.
namespace X11 {

// A reply of libxcb's, which is freed; empty where the server answered with an error.
template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
ReplyPointer<Reply> owned(Reply* reply)
{
    return {reply, &std::free};
}

// Null where the program is not shown by an X server.
xcb_connection_t* connection();

// Only with an X server; zero where that has none.
quint32 atom(const QByteArray& name);

// The one that DISPLAY names; the toolkit's connection is for it, too. Only with an X server.
int screenNumber();
const xcb_screen_t& screen();

// A property of a window that is a list of 32-bit values; empty where there is none.
QList<quint32> list(quint32 window, const QByteArray& name);
// Of the root window, by which a window manager tells something.
QList<quint32> rootList(const QByteArray& name);
// Whether the window manager says that it knows the property or request.
bool isSupported(const QByteArray& name);

// Sends a client message about the window to another one, or with 0 to the window manager.
void send(quint32 receiver, quint32 window, const QByteArray& type,
          const std::array<quint32, 3>& data);

// Asks for the keyboard, with the X server's time of the user's last action.
void askForActivation(const QWidget& window, quint32 time);

// The time of the user's last action in the window with the keyboard, any program's (EWMH
// _NET_WM_USER_TIME); zero where that is not told, none where the window manager tells no window.
std::optional<quint32> lastUse();

// Whether the window manager keeps the order of windows that is asked for. Each call asks it, for
// it may be another one by then.
bool canRestack();
// Puts the window above the other one.
void restack(const QWidget& window, const QWidget& other);
// As far as the window manager tells the order.
bool isListedBelow(const QWidget& window, const QWidget& other);

// Whether a window that is shown is on the current workspace and below no full-screen one, as far
// as the window manager tells.
bool isInSight(const QWidget& window);

// ICCCM's UrgencyHint.
void setUrgency(const QWidget& window, bool isUrgent);

} // namespace X11

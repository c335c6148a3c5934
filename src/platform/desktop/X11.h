#pragma once

#include <QByteArray>
#include <QList>
#include <QtGlobal>

#include <cstdlib>
#include <memory>

struct xcb_connection_t;
struct xcb_screen_t;

// The X server by the toolkit's own connection. Main thread. Internal to the platform.
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

// Zero where there is none.
quint32 atom(xcb_connection_t* connection, const QByteArray& name);

// The one that DISPLAY names; the toolkit's connection is for it, too.
int screenNumber();
const xcb_screen_t& screen(xcb_connection_t* connection);

// A property of a window that is a list of 32-bit values; empty where there is none.
QList<quint32> list(xcb_connection_t* connection, quint32 window, const QByteArray& name);
// Of the root window, by which a window manager tells something.
QList<quint32> rootList(xcb_connection_t* connection, const QByteArray& name);

} // namespace X11

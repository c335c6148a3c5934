#include "platform/desktop/X11.h"

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <iterator>

#include <xcb/xcb.h>

xcb_connection_t* X11::connection()
{
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

quint32 X11::atom(const QByteArray& name)
{
    const auto cookie = xcb_intern_atom(connection(), 0, static_cast<quint16>(name.size()), name);
    const auto reply = owned(xcb_intern_atom_reply(connection(), cookie, nullptr));
    return reply ? reply->atom : quint32(XCB_ATOM_NONE);
}

int X11::screenNumber()
{
    char* host = nullptr;
    int display = 0;
    int screen = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screen) != 0) {
        std::free(host);
    }
    return screen;
}

const xcb_screen_t& X11::screen()
{
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection()));
    for (int i = screenNumber(); i > 0 && screens.rem > 1; --i) {
        xcb_screen_next(&screens);
    }
    return *screens.data;
}

QList<quint32> X11::list(quint32 window, const QByteArray& name)
{
    constexpr quint32 kMost = 1'024;
    const auto cookie =
        xcb_get_property(connection(), 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, kMost);
    const auto reply = owned(xcb_get_property_reply(connection(), cookie, nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* const first = static_cast<quint32*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

QList<quint32> X11::rootList(const QByteArray& name)
{
    return connection() != nullptr ? list(screen().root, name) : QList<quint32>();
}

bool X11::isSupported(const QByteArray& name)
{
    const QList<quint32> supported = rootList("_NET_SUPPORTED");
    return !supported.isEmpty() && supported.contains(atom(name));
}

void X11::send(quint32 receiver, quint32 window, const QByteArray& type,
               const std::array<quint32, 3>& data)
{
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(type);
    std::copy(data.begin(), data.end(), std::begin(message.data.data32));
    constexpr quint32 kToManager =
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    xcb_send_event(connection(), 0, receiver != 0 ? receiver : screen().root,
                   receiver != 0 ? quint32(XCB_EVENT_MASK_NO_EVENT) : kToManager,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection());
}

void X11::askForActivation(const QWidget& window, quint32 time)
{
    const auto id = static_cast<xcb_window_t>(window.winId());
    xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, id, atom("_NET_WM_USER_TIME"),
                        XCB_ATOM_CARDINAL, 32, 1, &time);
    constexpr quint32 kByApplication = 1;
    send(0, id, "_NET_ACTIVE_WINDOW", {kByApplication, time, 0});
}

std::optional<quint32> X11::lastUse()
{
    // Some leave the property as it is when the window has gone.
    const quint32 active = rootList("_NET_ACTIVE_WINDOW").value(0);
    if (!rootList("_NET_CLIENT_LIST").contains(active)) {
        return {};
    }
    // A program may store its user time on a separate window, where the window manager supports
    // that (EWMH).
    const quint32 timeWindow = list(active, "_NET_WM_USER_TIME_WINDOW").value(0, active);
    const quint32 time = list(timeWindow, "_NET_WM_USER_TIME").value(0);
    return time != 0 ? time : list(active, "_NET_WM_USER_TIME").value(0);
}

bool X11::canRestack()
{
    return isSupported("_NET_RESTACK_WINDOW");
}

void X11::restack(const QWidget& window, const QWidget& other)
{
    // Window managers take the request from pagers only (EWMH's source indication 2).
    constexpr quint32 kByPager = 2;
    send(0, static_cast<quint32>(window.winId()), "_NET_RESTACK_WINDOW",
         {kByPager, static_cast<quint32>(other.winId()), XCB_STACK_MODE_ABOVE});
}

bool X11::isListedBelow(const QWidget& window, const QWidget& other)
{
    const auto stacked = rootList("_NET_CLIENT_LIST_STACKING");
    const auto place = std::find(stacked.begin(), stacked.end(), window.winId());
    return std::find(place, stacked.end(), other.winId()) != stacked.end();
}

bool X11::isInSight(const QWidget& window)
{
    const auto current = rootList("_NET_CURRENT_DESKTOP");
    const auto isHere = [&current](quint32 id) {
        constexpr quint32 kAll = 0xFFFF'FFFF;
        const auto desktop = list(id, "_NET_WM_DESKTOP");
        return current.isEmpty() || desktop.isEmpty() || desktop == current || desktop[0] == kAll;
    };
    const auto covers = [&isHere](quint32 id) {
        const auto states = list(id, "_NET_WM_STATE");
        return states.contains(atom("_NET_WM_STATE_FULLSCREEN")) &&
               !states.contains(atom("_NET_WM_STATE_HIDDEN")) && isHere(id);
    };
    const auto stacked = rootList("_NET_CLIENT_LIST_STACKING");
    const auto place = std::find(stacked.begin(), stacked.end(), window.winId());
    return connection() == nullptr || (isHere(static_cast<quint32>(window.winId())) &&
                                       std::none_of(place, stacked.end(), covers));
}

// Among the hints that the toolkit has set.
void X11::setUrgency(const QWidget& window, bool isUrgent)
{
    xcb_connection_t* const server = connection();
    if (server == nullptr || window.windowHandle() == nullptr) {
        return;
    }
    constexpr quint32 kHints = 9; // 32-bit numbers, the flags first
    constexpr quint32 kUrgency = 1U << 8;
    const auto id = static_cast<xcb_window_t>(window.winId());
    const auto cookie =
        xcb_get_property(server, 0, id, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 0, kHints);
    const auto reply = owned(xcb_get_property_reply(server, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len != kHints) {
        return;
    }
    auto* const hints = static_cast<quint32*>(xcb_get_property_value(reply.get()));
    const quint32 before = hints[0];
    hints[0] = isUrgent ? before | kUrgency : before & ~kUrgency;
    if (hints[0] != before) {
        xcb_change_property(server, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS,
                            32, kHints, hints);
        xcb_flush(server);
    }
}

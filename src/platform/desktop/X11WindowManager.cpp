#include "platform/desktop/X11WindowManager.h"

#include "platform/desktop/X11.h"

#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <array>
#include <iterator>

#include <xcb/xcb.h>

namespace {

void send(xcb_connection_t* connection, const QWidget& window, const QByteArray& type,
          const std::array<quint32, 3>& data)
{
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = X11::atom(connection, type);
    std::copy(data.begin(), data.end(), std::begin(message.data.data32));
    xcb_send_event(connection, 0, X11::screen(connection).root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

} // namespace

void X11WindowManager::askForActivation(const QWidget& window, quint32 time)
{
    xcb_connection_t* const connection = X11::connection();
    if (connection == nullptr) {
        return;
    }
    xcb_change_property(
        connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
        X11::atom(connection, "_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1, &time);
    constexpr quint32 kByApplication = 1;
    send(connection, window, "_NET_ACTIVE_WINDOW", {kByApplication, time, 0});
}

std::optional<quint32> X11WindowManager::useOfActiveWindow()
{
    xcb_connection_t* const connection = X11::connection();
    if (connection == nullptr) {
        return std::nullopt;
    }
    const quint32 window = X11::rootList(connection, "_NET_ACTIVE_WINDOW").value(0);
    if (window == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    // Programs may keep the time at a window of its own, and do so where the window manager looks
    // there.
    auto time = X11::list(connection, window, "_NET_WM_USER_TIME");
    const quint32 keeper = X11::list(connection, window, "_NET_WM_USER_TIME_WINDOW").value(0);
    if (keeper != XCB_WINDOW_NONE) {
        time = X11::list(connection, keeper, "_NET_WM_USER_TIME") + time;
    }
    return time.value(0) == 0 ? std::nullopt : std::optional(time[0]);
}

bool X11WindowManager::canRestack()
{
    xcb_connection_t* const connection = X11::connection();
    return connection != nullptr && X11::rootList(connection, "_NET_SUPPORTED")
                                        .contains(X11::atom(connection, "_NET_RESTACK_WINDOW"));
}

void X11WindowManager::restack(const QWidget& window, const QWidget& other)
{
    if (xcb_connection_t* const connection = X11::connection()) {
        // Window managers take the request from pagers only (EWMH's source indication 2).
        constexpr quint32 kByPager = 2;
        send(connection, window, "_NET_RESTACK_WINDOW",
             {kByPager, static_cast<quint32>(other.winId()), XCB_STACK_MODE_ABOVE});
    }
}

bool X11WindowManager::isListedBelow(const QWidget& window, const QWidget& other)
{
    xcb_connection_t* const connection = X11::connection();
    if (connection == nullptr) {
        return false;
    }
    const auto stacked = X11::rootList(connection, "_NET_CLIENT_LIST_STACKING");
    const auto place = std::find(stacked.begin(), stacked.end(), window.winId());
    return std::find(place, stacked.end(), other.winId()) != stacked.end();
}

// Among the hints that the toolkit has set.
void X11WindowManager::setUrgency(const QWidget& window, bool isUrgent)
{
    xcb_connection_t* const connection = X11::connection();
    if (connection == nullptr || window.windowHandle() == nullptr) {
        return;
    }
    constexpr quint32 kHints = 9; // 32-bit numbers, the flags first
    constexpr quint32 kUrgency = 1U << 8;
    const auto id = static_cast<xcb_window_t>(window.winId());
    const auto cookie =
        xcb_get_property(connection, 0, id, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 0, kHints);
    const auto reply = X11::owned(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len != kHints) {
        return;
    }
    auto* const hints = static_cast<quint32*>(xcb_get_property_value(reply.get()));
    const quint32 before = hints[0];
    hints[0] = isUrgent ? before | kUrgency : before & ~kUrgency;
    if (hints[0] != before) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, XCB_ATOM_WM_HINTS,
                            XCB_ATOM_WM_HINTS, 32, kHints, hints);
        xcb_flush(connection);
    }
}

#include "platform/desktop/X11.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

xcb_connection_t* X11::connection()
{
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

quint32 X11::atom(xcb_connection_t* connection, const QByteArray& name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<quint16>(name.size()), name);
    const auto reply = owned(xcb_intern_atom_reply(connection, cookie, nullptr));
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

const xcb_screen_t& X11::screen(xcb_connection_t* connection)
{
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = screenNumber(); i > 0 && screens.rem > 1; --i) {
        xcb_screen_next(&screens);
    }
    return *screens.data;
}

QList<quint32> X11::rootList(xcb_connection_t* connection, const QByteArray& name)
{
    return list(connection, screen(connection).root, name);
}

QList<quint32> X11::list(xcb_connection_t* connection, quint32 window, const QByteArray& name)
{
    constexpr quint32 kMost = 1'024;
    const auto cookie = xcb_get_property(connection, 0, window, atom(connection, name),
                                         XCB_GET_PROPERTY_TYPE_ANY, 0, kMost);
    const auto reply = owned(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* const first = static_cast<quint32*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

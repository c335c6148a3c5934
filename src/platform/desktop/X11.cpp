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

const xcb_screen_t& X11::screen(xcb_connection_t* connection)
{
    return *xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

QList<quint32> X11::supported(xcb_connection_t* connection)
{
    constexpr quint32 kMostAtoms = 1'024;
    const auto cookie =
        xcb_get_property(connection, 0, screen(connection).root, atom(connection, "_NET_SUPPORTED"),
                         XCB_ATOM_ATOM, 0, kMostAtoms);
    const auto reply = owned(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* const first = static_cast<xcb_atom_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

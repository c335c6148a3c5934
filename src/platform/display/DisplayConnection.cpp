#include "platform/display/DisplayConnection.h"

#include "platform/files/X11Display.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;
using std::chrono::milliseconds;

DisplayConnection::~DisplayConnection()
{
    ::xcb_disconnect(m_x11);
}

QString DisplayConnection::name()
{
    const QString wayland = qEnvironmentVariable("WAYLAND_DISPLAY");
    return wayland.isEmpty() ? x11Display() : wayland;
}

QString DisplayConnection::keeperLock()
{
    return u"vantoryAgentKeeper-%1.lock"_s.arg(name());
}

bool DisplayConnection::open(milliseconds limit)
{
    constexpr milliseconds kBetweenTries(500);
    const QDeadlineTimer end(limit);
    for (;;) {
        m_wayland = connectToWayland();
        if (m_wayland.isOpen()) {
            return true;
        }
        if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
            ::xcb_disconnect(m_x11);
            m_x11 = ::xcb_connect(nullptr, nullptr);
            if (::xcb_connection_has_error(m_x11) == 0) {
                return true;
            }
        }
        if (end.hasExpired()) {
            return false;
        }
        std::this_thread::sleep_for(kBetweenTries);
    }
}

Descriptor DisplayConnection::connectToWayland()
{
    // As libwayland reads it: a name in the runtime directory, or a path.
    const QString name = qEnvironmentVariable("WAYLAND_DISPLAY");
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QByteArray path = QFile::encodeName(name.startsWith(u'/') ? name : folder + u'/' + name);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.isEmpty() || path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) {
        return {};
    }
    std::copy(path.cbegin(), path.cend(), address.sun_path);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* const general = reinterpret_cast<const sockaddr*>(&address);
    if (!socket.isOpen() || ::connect(socket.value(), general, sizeof address) != 0) {
        return {};
    }
    return socket;
}

// Drops what the server has sent: an X server tells every client of a change of the keyboard.
bool DisplayConnection::isThere()
{
    if (m_wayland.isOpen()) {
        std::array<char, 4096> dropped = {};
        const ssize_t length = ::recv(m_wayland.value(), dropped.data(), dropped.size(), 0);
        return length > 0 || (length < 0 && (errno == EAGAIN || errno == EINTR));
    }
    while (xcb_generic_event_t* const event = ::xcb_poll_for_event(m_x11)) {
        std::free(event);
    }
    return ::xcb_connection_has_error(m_x11) == 0;
}

bool DisplayConnection::isGoneWithin(milliseconds time)
{
    const int descriptor =
        m_wayland.isOpen() ? m_wayland.value() : ::xcb_get_file_descriptor(m_x11);
    const QDeadlineTimer end(time);
    do {
        pollfd watched = {descriptor, POLLIN, 0};
        if (::poll(&watched, 1, static_cast<int>(end.remainingTime())) > 0 && !isThere()) {
            return true;
        }
    } while (!end.hasExpired());
    return false;
}

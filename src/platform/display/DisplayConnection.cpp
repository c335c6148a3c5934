#include "platform/display/DisplayConnection.h"

#include "platform/display/WaylandSocket.h"
#include "platform/files/DisplayName.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <thread>

#include <poll.h>
#include <sys/socket.h>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;
using std::chrono::milliseconds;

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

class DisplayConnection::Server {
public:
    Server() = default;
    virtual ~Server() = default;

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    virtual bool connect() = 0;
    // Readable when the server has sent something, or has gone.
    [[nodiscard]] virtual int descriptor() const = 0;
    // Drops what it has sent, and returns whether it is still there.
    virtual bool isThere() = 0;
};

class DisplayConnection::WaylandServer : public Server {
public:
    bool connect() override
    {
        m_socket = WaylandSocket::connect();
        return m_socket.isOpen();
    }

    [[nodiscard]] int descriptor() const override { return m_socket.value(); }

    bool isThere() override
    {
        std::array<char, 4096> dropped = {};
        const ssize_t length = ::recv(m_socket.value(), dropped.data(), dropped.size(), 0);
        return length > 0 || (length < 0 && (errno == EAGAIN || errno == EINTR));
    }

private:
    Descriptor m_socket;
};

class DisplayConnection::XServer : public Server {
public:
    XServer() = default;
    ~XServer() override { ::xcb_disconnect(m_connection); }

    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    bool connect() override
    {
        ::xcb_disconnect(m_connection);
        m_connection = ::xcb_connect(nullptr, nullptr);
        return ::xcb_connection_has_error(m_connection) == 0;
    }

    [[nodiscard]] int descriptor() const override
    {
        return ::xcb_get_file_descriptor(m_connection);
    }

    bool isThere() override
    {
        // Every client is told of a change of the keyboard.
        while (xcb_generic_event_t* const event = ::xcb_poll_for_event(m_connection)) {
            std::free(event);
        }
        return ::xcb_connection_has_error(m_connection) == 0;
    }

private:
    xcb_connection_t* m_connection = nullptr;
};

DisplayConnection::DisplayConnection() = default;
DisplayConnection::~DisplayConnection() = default;

QString DisplayConnection::name()
{
    const QString wayland = DisplayName::wayland();
    return wayland.isEmpty() ? DisplayName::x11() : wayland;
}

QString DisplayConnection::keeperLock()
{
    return u"vantoryAgentKeeper-%1.lock"_s.arg(name());
}

bool DisplayConnection::open(milliseconds limit)
{
    constexpr milliseconds kBetweenTries(500);
    const auto end = Clock::now() + limit;
    for (;;) {
        if (connectTo<WaylandServer>("WAYLAND_DISPLAY") || connectTo<XServer>("DISPLAY")) {
            return true;
        }
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(kBetweenTries);
    }
}

template <typename Kind>
bool DisplayConnection::connectTo(const char* variable)
{
    if (qEnvironmentVariableIsEmpty(variable)) {
        return false;
    }
    m_server = std::make_unique<Kind>();
    return m_server->connect();
}

bool DisplayConnection::isGoneWithin(milliseconds time)
{
    const auto end = Clock::now() + time;
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        pollfd watched = {m_server->descriptor(), POLLIN, 0};
        const auto wait = static_cast<int>(std::max(left, milliseconds(0)).count());
        const int ready = ::poll(&watched, 1, wait);
        if (ready > 0 && !m_server->isThere()) {
            return true;
        }
        if (left <= milliseconds(0)) {
            return false;
        }
    }
}

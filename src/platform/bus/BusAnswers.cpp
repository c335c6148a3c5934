#include "platform/bus/Bus.h"

#include <QByteArray>

#include <cerrno>
#include <cstdint>
#include <memory>

#include <systemd/sd-bus.h>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Close {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Connection = std::unique_ptr<sd_bus, Close>;

// Only begins to connect.
Connection connectionTo(const QByteArray& address)
{
    sd_bus* bus = nullptr;
    const int error = address.isEmpty() ? sd_bus_open_user(&bus) : sd_bus_new(&bus);
    Connection connection(error < 0 ? nullptr : bus);
    if (connection && !address.isEmpty() &&
        (sd_bus_set_address(bus, address.constData()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 ||
         sd_bus_start(bus) < 0)) {
        return nullptr;
    }
    return connection;
}

std::uint64_t microsecondsUntil(Clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::microseconds>(end - Clock::now());
    return left.count() > 0 ? static_cast<std::uint64_t>(left.count()) : 0;
}

} // namespace

bool Bus::answers(const QByteArray& address, const char* service, std::chrono::microseconds limit)
{
    const auto end = Clock::now() + limit;
    const Connection connection = connectionTo(address);
    sd_bus* const bus = connection.get();
    if (bus == nullptr) {
        return true;
    }
    // The library's own calls wait for the connection without a time limit.
    while (sd_bus_is_ready(bus) == 0) {
        const int done = sd_bus_process(bus, nullptr);
        if (done < 0) {
            return true;
        }
        const std::uint64_t left = microsecondsUntil(end);
        if (left == 0) {
            return false;
        }
        if (done == 0) {
            sd_bus_wait(bus, left);
        }
    }
    sd_bus_message* ping = nullptr;
    if (sd_bus_message_new_method_call(bus, &ping, service, "/", "org.freedesktop.DBus.Peer",
                                       "Ping") < 0) {
        return true;
    }
    const std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)> owner(
        ping, &sd_bus_message_unref);
    sd_bus_message_set_auto_start(ping, 0);
    // Zero would be the library's own time limit.
    return sd_bus_call(bus, ping, microsecondsUntil(end) + 1, nullptr, nullptr) != -ETIMEDOUT;
}

QDBusConnection Bus::session()
{
    static const bool isThere = [] { // the first caller asks, the others wait for it
        while (!answers({}, "org.freedesktop.DBus", 25s)) {
        }
        return true;
    }();
    Q_UNUSED(isThere);
    return QDBusConnection::sessionBus();
}

#include "platform/bus/UserBus.h"

#include <systemd/sd-bus.h>

namespace {

// Only begins to connect.
UserBus::Connection connectionTo(const QByteArray& address)
{
    sd_bus* bus = nullptr;
    const int error = address.isEmpty() ? sd_bus_open_user(&bus) : sd_bus_new(&bus);
    UserBus::Connection connection(error < 0 ? nullptr : bus);
    if (connection && !address.isEmpty() &&
        (sd_bus_set_address(bus, address.constData()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 ||
         sd_bus_start(bus) < 0)) {
        return nullptr;
    }
    return connection;
}

} // namespace

void UserBus::Close::operator()(sd_bus* bus) const
{
    sd_bus_close_unref(bus);
}

std::uint64_t UserBus::microsecondsUntil(Clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::microseconds>(end - Clock::now());
    return left.count() > 0 ? static_cast<std::uint64_t>(left.count()) : 0;
}

UserBus::Result UserBus::connect(const QByteArray& address, Clock::time_point end)
{
    Connection connection = connectionTo(address);
    sd_bus* const bus = connection.get();
    if (bus == nullptr) {
        return {};
    }
    // The library's own calls wait for the connection without a time limit.
    while (sd_bus_is_ready(bus) == 0) {
        const int done = sd_bus_process(bus, nullptr);
        if (done < 0) {
            return {};
        }
        const std::uint64_t left = microsecondsUntil(end);
        if (left == 0) {
            return {State::TooSlow, nullptr};
        }
        if (done == 0) {
            sd_bus_wait(bus, left);
        }
    }
    return {State::Ready, std::move(connection)};
}

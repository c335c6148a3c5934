#pragma once

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>

struct sd_bus;

// Connections to a bus by libsystemd, for what must not wait longer than it says. Internal to the
// platform. Any thread, but each connection only one.
namespace UserBus {

struct Close {
    void operator()(sd_bus* bus) const;
};
using Connection = std::unique_ptr<sd_bus, Close>;

using Clock = std::chrono::steady_clock;

enum class State { Ready, Refused, TooSlow };

struct Result {
    State state = State::Refused; // or there is no such bus
    Connection connection;        // where it is ready
};

// Connects to the bus at the address (empty: the session bus), and waits for its greeting.
[[nodiscard]] Result connect(const QByteArray& address, Clock::time_point end);

// What is left until then: 0 where nothing is.
[[nodiscard]] std::uint64_t microsecondsUntil(Clock::time_point end);

} // namespace UserBus

#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <variant>

struct sd_bus;
struct sd_bus_message;

// Calls over D-Bus with a deadline, by libsystemd's sd-bus. Internal to the platform.
//
// The program uses two D-Bus libraries, so that a bus that hangs does not hang the program:
//
// - QtDBus (Bus.h) connects without a time limit, all its connections share one thread, and it
//   needs the application object. The toolkit uses it anyway, for accessibility. It serves what the
//   main thread never waits for, all on the toolkit's own connection to the session bus: the icon,
//   its menu and the notifications. A worker connects it, once a BusConnection has had a reply.
// - sd-bus serves calls with a deadline, with or without the toolkit: the agent's name on the
//   session bus and the calls to the agent (RunningAgent), logind on the system bus
//   (ConsoleSession), and the doctor's questions (DesktopFacts).
//
// So an agent has one connection to the system bus and, besides the toolkit's, one to the session
// bus. RunningAgent::leave() shuts that one down, which must not take the icon along.

// The reply to a call; false if none came.
class BusReply {
public:
    explicit BusReply(int error, sd_bus_message* message = nullptr); // which it owns

    explicit operator bool() const { return m_message != nullptr; }
    // Why no reply came, as an errno value: ETIMEDOUT at the deadline. An error reply has one, too.
    [[nodiscard]] int error() const { return m_error; }

    // What is read next is in the container: 'v', 'a' or 'r', with contents of that signature.
    bool enter(char container, const char* contents);

    // The next value, where it is of that basic type of D-Bus. A text lives as long as the reply.
    template <typename Value>
    [[nodiscard]] std::optional<Value> value(char type)
    {
        Value value = {};
        return read(type, &value) ? std::optional(value) : std::nullopt;
    }
    [[nodiscard]] std::optional<bool> flag();

private:
    bool read(char type, void* value);

    int m_error;
    std::shared_ptr<sd_bus_message> m_message;
};

// Any thread, but one at a time. Copies are the same connection.
class BusConnection {
public:
    using Clock = std::chrono::steady_clock;

    // Calls on the system bus start a service that does not run, those on others don't.
    static constexpr auto kSession = "session";
    static constexpr auto kSystem = "system";

    BusConnection() = default; // not connected
    // Connects to one of these or to an address, and waits until the deadline for the bus's
    // greeting.
    BusConnection(const QByteArray& bus, Clock::time_point deadline);

    // Whether the bus has greeted.
    [[nodiscard]] bool isReady() const { return m_descriptor >= 0; }

    // The deadline of the calls that follow, together; at first the connection's.
    void setDeadline(Clock::time_point deadline) { m_deadline = deadline; }

    using Argument = std::variant<const char*, quint32, qint64>;
    using Arguments = std::initializer_list<Argument>;
    BusReply call(const char* service, const char* path, const char* interface, const char* method,
                  Arguments arguments = {});
    // To the bus itself.
    BusReply callBus(const char* method, Arguments arguments = {});
    // A property of that signature, which is the next value to read.
    BusReply property(const char* service, const char* path, const char* interface,
                      const char* name, const char* signature);

    // Handles one message that has arrived; false if there is none. A message may have been read
    // while a call waited for its reply: the descriptor does not show it any more.
    bool processOne();
    // Whether the bus has not closed the connection, as far as processOne() has seen.
    [[nodiscard]] bool isOpen() const;
    [[nodiscard]] int descriptor() const { return m_descriptor; }

    // For what only sd-bus has.
    [[nodiscard]] sd_bus* bus() const { return m_bus.get(); }

private:
    [[nodiscard]] std::uint64_t microsecondsLeft() const;

    std::shared_ptr<sd_bus> m_bus;
    bool m_startsServices = false;
    int m_error = ENOTCONN; // of calls without a connection
    int m_descriptor = -1;
    Clock::time_point m_deadline;
};

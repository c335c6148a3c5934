#include "platform/bus/BusConnection.h"

#include <type_traits>

#include <systemd/sd-bus.h>

namespace {

template <typename Value>
int append(sd_bus_message* message, Value value)
{
    if constexpr (std::is_pointer_v<Value>) {
        return sd_bus_message_append_basic(message, SD_BUS_TYPE_STRING, value);
    } else {
        constexpr char kType = sizeof value == 4 ? SD_BUS_TYPE_UINT32 : SD_BUS_TYPE_INT64;
        return sd_bus_message_append_basic(message, kType, &value);
    }
}

} // namespace

BusReply::BusReply(int error, sd_bus_message* message)
    : m_error(error), m_message(message, &sd_bus_message_unref)
{}

bool BusReply::enter(char container, const char* contents)
{
    return m_message && sd_bus_message_enter_container(m_message.get(), container, contents) > 0;
}

bool BusReply::read(char type, void* value)
{
    return m_message && sd_bus_message_read_basic(m_message.get(), type, value) > 0;
}

std::optional<bool> BusReply::flag()
{
    const auto number = value<int>(SD_BUS_TYPE_BOOLEAN);
    return number ? std::optional(*number != 0) : std::nullopt;
}

BusConnection::BusConnection(const QByteArray& bus, Clock::time_point deadline)
    : m_startsServices(bus == kSystem), m_deadline(deadline)
{
    sd_bus* opened = nullptr;
    int result = 0;
    if (bus == kSession || bus == kSystem) {
        result = m_startsServices ? sd_bus_open_system(&opened) : sd_bus_open_user(&opened);
    } else if ((result = sd_bus_new(&opened)) >= 0 &&
               (result = sd_bus_set_address(opened, bus.constData())) >= 0 &&
               (result = sd_bus_set_bus_client(opened, 1)) >= 0) {
        result = sd_bus_start(opened);
    }
    // What is not sent yet when it closes is dropped: to send it could take long.
    m_bus.reset(opened, &sd_bus_close_unref);
    // The library's own calls wait for the connection without a time limit.
    while (result >= 0 && (result = sd_bus_is_ready(opened)) == 0) {
        const std::uint64_t left = microsecondsLeft();
        result = left == 0 ? -ETIMEDOUT : sd_bus_process(opened, nullptr);
        if (result == 0) {
            sd_bus_wait(opened, left);
        }
    }
    if (result >= 0) {
        m_descriptor = sd_bus_get_fd(opened);
    } else {
        m_error = -result;
        m_bus.reset();
    }
}

std::uint64_t BusConnection::microsecondsLeft() const
{
    const auto left = std::chrono::ceil<std::chrono::microseconds>(m_deadline - Clock::now());
    return left.count() > 0 ? static_cast<std::uint64_t>(left.count()) : 0;
}

BusReply BusConnection::call(const char* service, const char* path, const char* interface,
                             const char* method, Arguments arguments)
{
    sd_bus_message* message = nullptr;
    if (!m_bus || sd_bus_message_new_method_call(m_bus.get(), &message, service, path, interface,
                                                 method) < 0) {
        return BusReply(m_error);
    }
    const std::shared_ptr<sd_bus_message> owner(message, &sd_bus_message_unref);
    sd_bus_message_set_auto_start(message, m_startsServices ? 1 : 0);
    for (const Argument& argument : arguments) {
        if (std::visit([&](auto value) { return append(message, value); }, argument) < 0) {
            return BusReply(EINVAL);
        }
    }
    sd_bus_message* reply = nullptr;
    // Zero would be the library's own time limit.
    const int result = sd_bus_call(m_bus.get(), message, microsecondsLeft() + 1, nullptr, &reply);
    return BusReply(result < 0 ? -result : 0, reply);
}

BusReply BusConnection::callBus(const char* method, Arguments arguments)
{
    return call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
                arguments);
}

BusReply BusConnection::property(const char* service, const char* path, const char* interface,
                                 const char* name, const char* signature)
{
    BusReply reply =
        call(service, path, "org.freedesktop.DBus.Properties", "Get", {interface, name});
    return reply.enter(SD_BUS_TYPE_VARIANT, signature) ? reply : BusReply(EINVAL);
}

bool BusConnection::processOne()
{
    return m_bus && sd_bus_process(m_bus.get(), nullptr) > 0;
}

bool BusConnection::isOpen() const
{
    return m_bus && sd_bus_is_open(m_bus.get()) > 0;
}

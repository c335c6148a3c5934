#include "platform/desktop/DesktopFacts.h"

#include "platform/bus/UserBus.h"
#include "platform/desktop/XServerQuestion.h"
#include "platform/display/WaylandSocket.h"
#include "platform/files/DisplayName.h"
#include "platform/files/FilePaths.h"

#include <QDir>
#include <QLibraryInfo>

#include <chrono>
#include <cstring>

#include <systemd/sd-bus.h>

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

constexpr auto kLimit = 1000ms;
constexpr auto kLogindLimit = 500ms;

constexpr const char* kBus = "org.freedesktop.DBus"; // and its interface
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kNotifications = "org.freedesktop.Notifications";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher"; // and its interface

// Questions over one connection that together take no longer than a limit.
class Questions {
public:
    Questions(const QByteArray& address, std::chrono::milliseconds limit)
        : m_end(UserBus::Clock::now() + limit),
          m_connection(UserBus::connect(address, m_end).connection)
    {}

    [[nodiscard]] bool canBeAsked() const { return m_connection != nullptr; }

    // Null where there is no answer in time, or an error.
    template <typename... Arguments>
    [[nodiscard]] Message ask(const char* service, const char* path, const char* interface,
                              const char* method, const char* types, Arguments... arguments) const
    {
        Message none(nullptr, &sd_bus_message_unref);
        sd_bus_message* question = nullptr;
        if (!m_connection || sd_bus_message_new_method_call(m_connection.get(), &question, service,
                                                            path, interface, method) < 0) {
            return none;
        }
        const Message owner(question, &sd_bus_message_unref);
        sd_bus_message* answer = nullptr;
        if (sd_bus_message_append(question, types, arguments...) < 0 ||
            sd_bus_call(m_connection.get(), question, UserBus::microsecondsUntil(m_end) + 1,
                        nullptr, &answer) < 0) {
            return none;
        }
        return {answer, &sd_bus_message_unref};
    }

    [[nodiscard]] bool hasOwner(const char* name) const
    {
        return isTrue(ask(kBus, kBusPath, kBus, "NameHasOwner", "s", name));
    }

    // Whether the message's next value is true.
    static bool isTrue(const Message& message)
    {
        int value = 0;
        return message &&
               sd_bus_message_read_basic(message.get(), SD_BUS_TYPE_BOOLEAN, &value) > 0 &&
               value != 0;
    }

private:
    const UserBus::Clock::time_point m_end;
    const UserBus::Connection m_connection;
};

// Whether the bus would start the service for whoever asks it something.
bool isStartable(const Questions& bus, const char* service)
{
    const Message answer = bus.ask(kBus, kBusPath, kBus, "ListActivatableNames", "");
    if (!answer || sd_bus_message_enter_container(answer.get(), SD_BUS_TYPE_ARRAY, "s") <= 0) {
        return false;
    }
    const char* name = nullptr;
    while (sd_bus_message_read_basic(answer.get(), SD_BUS_TYPE_STRING, &name) > 0) {
        if (std::strcmp(name, service) == 0) {
            return true;
        }
    }
    return false;
}

bool hasStatusHost(const Questions& bus)
{
    if (!bus.hasOwner(kWatcher)) {
        return false;
    }
    const Message answer =
        bus.ask(kWatcher, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties", "Get", "ss",
                kWatcher, "IsStatusNotifierHostRegistered");
    return answer && sd_bus_message_enter_container(answer.get(), SD_BUS_TYPE_VARIANT, "b") > 0 &&
           Questions::isTrue(answer);
}

// Whether the toolkit's part for native Wayland is installed.
bool canUseWayland()
{
    const QDir parts(FilePaths::system(QLibraryInfo::path(QLibraryInfo::PluginsPath)) +
                     u"/platforms"_s);
    return !parts.entryList({u"libqwayland*"_s}, QDir::Files).isEmpty();
}

// As the program chooses: the X server where it answers, else the compositor.
void askDisplay(DesktopFacts& facts)
{
    using Display = DesktopFacts::Display;
    const QString x11 = DisplayName::x11();
    const QString wayland = DisplayName::wayland();
    const auto server = x11.isEmpty() ? XServerQuestion::Answer() : XServerQuestion::ask(kLimit);
    facts.showsStatusIcons = server.hasTray;
    facts.displayName = x11.isEmpty() ? wayland : x11;
    if (server.isReachable) {
        facts.display = Display::Reachable;
    } else if (!wayland.isEmpty() && WaylandSocket::connect().isOpen()) {
        facts.displayName = wayland;
        facts.display = canUseWayland() ? Display::Reachable : Display::Unsupported;
    } else if (!facts.displayName.isEmpty()) {
        facts.display = Display::Unreachable;
    }
}

QByteArray systemBus()
{
    const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    return address.isEmpty() ? "unix:path=/run/dbus/system_bus_socket" : address;
}

} // namespace

DesktopFacts DesktopFacts::gather()
{
    DesktopFacts facts;
    facts.desktopNames =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    askDisplay(facts);
    facts.isBusNamed = !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
                       !qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR");
    const Questions session({}, kLimit);
    facts.hasBus = session.canBeAsked();
    facts.showsStatusIcons = facts.showsStatusIcons || hasStatusHost(session);
    facts.showsNotifications =
        session.hasOwner(kNotifications) || isStartable(session, kNotifications);
    const Questions system(systemBus(), kLogindLimit);
    facts.hasLogind = system.ask("org.freedesktop.login1", "/org/freedesktop/login1",
                                 "org.freedesktop.DBus.Peer", "Ping", "") != nullptr;
    return facts;
}

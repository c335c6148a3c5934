#include "platform/desktop/DesktopFacts.h"

#include "platform/bus/BusConnection.h"
#include "platform/desktop/XServerQuestion.h"
#include "platform/display/WaylandSocket.h"
#include "platform/files/DisplayName.h"
#include "platform/files/FilePaths.h"

#include <QDir>
#include <QLibraryInfo>

#include <chrono>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 1000ms;

constexpr const char* kNotifications = "org.freedesktop.Notifications";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher"; // and its interface

bool hasOwner(BusConnection& bus, const char* service)
{
    return bus.callBus("NameHasOwner", {service}).flag() == true;
}

// Whether the bus would start the service for whoever calls it.
bool isStartable(BusConnection& bus, const char* service)
{
    BusReply names = bus.callBus("ListActivatableNames");
    if (names.enter('a', "s")) {
        while (const auto name = names.value<const char*>('s')) {
            if (std::strcmp(*name, service) == 0) {
                return true;
            }
        }
    }
    return false;
}

bool hasStatusHost(BusConnection& bus)
{
    return bus.property(kWatcher, "/StatusNotifierWatcher", kWatcher,
                        "IsStatusNotifierHostRegistered", "b")
               .flag() == true;
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

} // namespace

DesktopFacts DesktopFacts::gather()
{
    DesktopFacts facts;
    facts.desktopNames =
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    askDisplay(facts);
    facts.isBusNamed = !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
                       !qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR");
    BusConnection bus(BusConnection::kSession, BusConnection::Clock::now() + kLimit);
    facts.hasBus = bus.isReady();
    facts.showsStatusIcons = facts.showsStatusIcons || hasStatusHost(bus);
    facts.showsNotifications = hasOwner(bus, kNotifications) || isStartable(bus, kNotifications);
    return facts;
}

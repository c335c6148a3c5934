#include "platform/desktop/DesktopFacts.h"

#include "platform/bus/BusConnection.h"
#include "platform/desktop/X11.h"
#include "platform/display/DisplayConnection.h"
#include "platform/files/FilePaths.h"
#include "platform/files/X11Display.h"
#include "platform/threads/Thread.h"

#include <QDir>
#include <QLibraryInfo>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <future>
#include <memory>
#include <string>

#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

constexpr auto kLimit = 1000ms;

constexpr const char* kNotifications = "org.freedesktop.Notifications";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher"; // and its interface

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

enum class XServer { Unreachable, WithoutTray, WithTray };

// Whether the X server of DISPLAY takes this program, and whether somebody owns the selection of
// the System Tray Protocol (freedesktop.org) on its screen.
XServer lookAtXServer()
{
    int screen = 0;
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        ::xcb_connect(nullptr, &screen), &xcb_disconnect);
    xcb_connection_t* const server = connection.get();
    if (::xcb_connection_has_error(server) != 0) {
        return XServer::Unreachable;
    }
    const std::string name = "_NET_SYSTEM_TRAY_S" + std::to_string(screen);
    const auto length = static_cast<std::uint16_t>(name.size());
    const auto atom = X11::owned(::xcb_intern_atom_reply(
        server, ::xcb_intern_atom(server, 1, length, name.c_str()), nullptr));
    if (!atom || atom->atom == XCB_ATOM_NONE) {
        return XServer::WithoutTray; // nobody has ever used the name
    }
    const auto owner = X11::owned(::xcb_get_selection_owner_reply(
        server, ::xcb_get_selection_owner(server, atom->atom), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE ? XServer::WithTray : XServer::WithoutTray;
}

// A thread asks, which is left behind at the time limit: XCB waits for ever for a server that
// hangs.
XServer askXServer()
{
    const auto answer = std::make_shared<std::promise<XServer>>();
    std::future<XServer> result = answer->get_future();
    std::jthread thread = Thread::tryStart("X server", [answer] {
        // A server that hangs up must not end the program.
        sigset_t brokenPipe;
        ::sigemptyset(&brokenPipe);
        ::sigaddset(&brokenPipe, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
        answer->set_value(lookAtXServer());
    });
    if (!thread.joinable()) {
        return XServer::Unreachable;
    }
    thread.detach();
    const bool isAnswered = result.wait_for(kLimit) == std::future_status::ready;
    return isAnswered ? result.get() : XServer::Unreachable;
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
    const QString x11 = x11Display();
    const QString wayland = qEnvironmentVariable("WAYLAND_DISPLAY");
    const XServer server = x11.isEmpty() ? XServer::Unreachable : askXServer();
    facts.showsStatusIcons = server == XServer::WithTray;
    facts.displayName = x11.isEmpty() ? wayland : x11;
    if (server != XServer::Unreachable) {
        facts.display = Display::Reachable;
    } else if (!wayland.isEmpty() && DisplayConnection::connectToWayland().isOpen()) {
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
    // What belongs to the bus is asked first: a panel that hangs uses up the rest of the time.
    facts.showsNotifications = bus.callBus("NameHasOwner", {kNotifications}).flag() == true ||
                               isStartable(bus, kNotifications);
    facts.showsStatusIcons =
        facts.showsStatusIcons || bus.property(kWatcher, "/StatusNotifierWatcher", kWatcher,
                                               "IsStatusNotifierHostRegistered", "b")
                                          .flag() == true;
    return facts;
}

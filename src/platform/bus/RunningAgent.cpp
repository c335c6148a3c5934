#include "platform/bus/RunningAgent.h"

#include "platform/bus/BusConnection.h"
#include "platform/files/Descriptor.h"
#include "platform/files/SessionLock.h"
#include "platform/files/X11Display.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <sys/socket.h>
#include <systemd/sd-bus.h>

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;

constexpr const char* kName = "com.halvern.vantoryAgent"; // and the interface
constexpr const char* kPath = "/com/halvern/vantoryAgent";
constexpr auto kLongestStart = 500ms;
constexpr auto kLongestReply = 5s;

// What makes this process the single instance, if it is. Never destroyed: any thread may give it up
// while the process ends.
struct Place {
    std::atomic_bool isTaken = false;
    BusConnection bus; // owns the name
    Descriptor socket; // the bus's; the library closes its own as soon as the bus has gone
    SessionLock lock;
    RunningAgent::Requests requests;
};

Place& place = *new Place;

BusConnection connectWithin(std::chrono::milliseconds limit)
{
    return {BusConnection::kSession, BusConnection::Clock::now() + limit};
}

// Calls the agent that has the name.
BusReply call(const char* method, BusConnection::Arguments arguments = {})
{
    return connectWithin(kLongestReply).call(kName, kPath, kName, method, arguments);
}

// The X server's time in the id that a launcher gives to what it starts (Startup Notification
// Protocol, "..._TIMEn"); 0 where there is none.
quint32 launchTime()
{
    const QByteArray id = qgetenv("DESKTOP_STARTUP_ID");
    const qsizetype at = id.lastIndexOf("_TIME");
    return at < 0 ? 0 : id.mid(at + 5).toUInt();
}

// A lock for each display, as the toolkit chooses it.
QString lockName()
{
    const QString x11 = x11Display();
    return u"vantoryAgent-%1.lock"_s.arg(x11.isEmpty() ? qEnvironmentVariable("WAYLAND_DISPLAY")
                                                       : x11);
}

int onPresent(sd_bus_message* call, void*, sd_bus_error*)
{
    quint32 time = 0;
    sd_bus_message_read_basic(call, SD_BUS_TYPE_UINT32, &time);
    const int port = place.requests.present(time);
    return sd_bus_reply_method_return(call, "q", port);
}

template <auto request>
int onText(sd_bus_message* call, void*, sd_bus_error*)
{
    const QByteArray text = (place.requests.*request)();
    return sd_bus_reply_method_return(call, "s", text.constData());
}

int onEndSession(sd_bus_message* call, void*, sd_bus_error*)
{
    qint64 session = 0;
    sd_bus_message_read_basic(call, SD_BUS_TYPE_INT64, &session);
    const bool isEnded = place.requests.endSession(session);
    return sd_bus_reply_method_return(call, "b", isEnded ? 1 : 0);
}

// One call a turn of the main loop.
void processOne(QSocketNotifier* notifier)
{
    if (place.bus.processOne()) {
        QMetaObject::invokeMethod(
            notifier, [notifier] { processOne(notifier); }, Qt::QueuedConnection);
    } else if (!place.bus.isOpen()) { // the bus is gone
        notifier->setEnabled(false);
    }
}

} // namespace

bool RunningAgent::take()
{
    // The D-Bus specification's numbers.
    constexpr quint32 kDoNotQueue = 4;
    constexpr quint32 kExists = 3;
    bool isOurs = place.lock.take(lockName()) != SessionLock::Result::Busy;
    if (isOurs) {
        place.bus = connectWithin(kLongestStart);
        place.socket = Descriptor(::fcntl(place.bus.descriptor(), F_DUPFD_CLOEXEC, 0));
        isOurs =
            place.bus.callBus("RequestName", {kName, kDoNotQueue}).value<quint32>('u') != kExists;
    }
    place.isTaken = isOurs;
    return isOurs;
}

void RunningAgent::leave()
{
    if (place.isTaken.exchange(false)) {
        // The bus takes the name away.
        ::shutdown(place.socket.value(), SHUT_RDWR);
        place.lock.release();
    }
}

void RunningAgent::serve(Requests requests)
{
    static const sd_bus_vtable kMethods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("Present", "u", "q", &onPresent, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Status", "", "s", &onText<&RunningAgent::Requests::status>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("History", "", "s", &onText<&RunningAgent::Requests::history>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("EndSession", "x", "b", &onEndSession, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END};
    place.requests = std::move(requests);
    const BusConnection& bus = place.bus;
    if (!bus.isReady() ||
        sd_bus_add_object_vtable(bus.bus(), nullptr, kPath, kName, kMethods, nullptr) < 0) {
        return;
    }
    auto* const notifier =
        new QSocketNotifier(bus.descriptor(), QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                     [notifier] { processOne(notifier); });
    processOne(notifier); // what came with the reply to the request for the name is read already
}

std::optional<quint16> RunningAgent::present()
{
    return call("Present", {launchTime()}).value<quint16>('q');
}

QByteArray RunningAgent::status()
{
    return call("Status").value<const char*>('s').value_or(nullptr);
}

QByteArray RunningAgent::history()
{
    return call("History").value<const char*>('s').value_or(nullptr);
}

std::optional<bool> RunningAgent::endSession(qint64 session)
{
    return call("EndSession", {session}).flag();
}

RunningAgent::Presence RunningAgent::presence()
{
    BusConnection bus = connectWithin(kLongestStart);
    const int error = bus.isReady() ? bus.call(kName, kPath, kName, "Status").error() : ENXIO;
    if (error == EHOSTUNREACH || error == ENXIO) { // nobody has the name
        return SessionLock::isTaken(lockName()) ? Presence::Silent : Presence::None;
    }
    // An error is a reply, too.
    return error == ETIMEDOUT ? Presence::Silent : Presence::Responding;
}

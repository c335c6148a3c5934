#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <limits>

// D-Bus by QtDBus, for the main thread, which never waits for the bus or for a service on it.
// BusConnection.h says what is not done by QtDBus, and why. Internal to the platform.
namespace Bus {

// D-Bus's own time limit for a reply.
inline constexpr std::chrono::seconds kTimeLimit(25);

// Whether a bus (as BusConnection takes it), and the service on it where it runs, responds before
// the time is up. True also where this fails at once. For workers.
[[nodiscard]] bool responds(const QByteArray& bus, const char* service, std::chrono::seconds limit);

// Connects to the session bus, as soon as that responds. For workers.
[[nodiscard]] QDBusConnection session();

// For call(): the time limit above; and none: if the service ends before, the bus replies with an
// error.
inline constexpr int kUsualTimeLimit = -1;
inline constexpr int kNoTimeLimit = std::numeric_limits<int>::max();

// Sends the call, and calls `then` with its reply, also an error, unless the context is deleted
// before. Returns the pending call.
QDBusPendingCall call(const QDBusConnection& bus, const QDBusMessage& call, int timeLimit,
                      QObject* context, const std::function<void(const QDBusMessage&)>& then);

// A call to the bus itself.
[[nodiscard]] QDBusMessage callToBus(const QString& method);

// Calls `then` with the unique name of the service's owner, empty where it has none: when this is
// known, and after each change.
void watchOwner(const QDBusConnection& bus, const QString& service, QObject* context,
                const std::function<void(const QString&)>& then);

// Calls the slot, a SLOT() that takes a QDBusMessage, for each signal of the names, of any sender:
// QtDBus would have to ask for the owner of a service's name, and wait; so do its proxy classes,
// whose signals could be connected as usual. The slot compares the sender's unique name
// (QDBusMessage::service()), or takes the signal only as a reason to ask.
void receive(QDBusConnection bus, const QString& path, const QString& interface,
             const QStringList& names, QObject* receiver, const char* slot);

} // namespace Bus

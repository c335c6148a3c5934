#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <limits>

// D-Bus for the main thread, which never waits for the bus or for a service on it. The first use of
// a bus in the program connects to it and waits for its greeting, so that is made on a worker.
// Internal to the platform.
namespace Bus {

// Whether the bus at the address (empty: the session bus) answers before the time is up, and so
// does the service on it where it runs. True also where this fails at once. For workers; over a
// connection of its own, since QtDBus has one thread only: a bus that hangs stops that, and with it
// all other buses and the main thread where it opens one.
[[nodiscard]] bool answers(const QByteArray& address, const char* service,
                           std::chrono::microseconds limit);

// Connects to the session bus, as soon as that answers. For workers.
[[nodiscard]] QDBusConnection session();

// D-Bus's own time limit for an answer, 25 seconds; and none: if the service ends before, the bus
// answers with an error.
inline constexpr int kUsualTimeLimit = -1;
inline constexpr int kNoTimeLimit = std::numeric_limits<int>::max();

// Calls `then` with the answer, also an error, unless the context is deleted before.
void ask(const QDBusConnection& bus, const QDBusMessage& question, int timeLimit, QObject* context,
         const std::function<void(const QDBusMessage&)>& then);

// The question for a property's value. The answer is a QDBusVariant.
[[nodiscard]] QDBusMessage propertyQuestion(const QString& service, const QString& path,
                                            const QString& interface, const QString& property);

// Calls `then` with the unique name of the service's owner, empty where it has none: when this is
// known, and after each change.
void watchOwner(const QDBusConnection& bus, const QString& service, QObject* context,
                const std::function<void(const QString&)>& then);

// Emits received() for each signal of the names, of any sender: QtDBus would have to ask for the
// owner of a service's name, and wait. The receiver compares the sender's unique name
// (QDBusMessage::service()), or takes the signal only as a reason to ask.
class Signals : public QObject {
    Q_OBJECT

public:
    Signals(QDBusConnection bus, const QString& path, const QString& interface,
            const QStringList& names);

Q_SIGNALS:
    void received(const QDBusMessage& signal);
};

} // namespace Bus

#include "platform/bus/Bus.h"

#include "platform/bus/BusConnection.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <cerrno>

using namespace Qt::StringLiterals;

bool Bus::responds(const QByteArray& bus, const char* service, std::chrono::seconds limit)
{
    BusConnection connection(bus, BusConnection::Clock::now() + limit);
    return connection.call(service, "/", "org.freedesktop.DBus.Peer", "Ping").error() != ETIMEDOUT;
}

QDBusConnection Bus::session()
{
    static const bool isThere = [] { // the first caller waits for the bus
        while (!responds(BusConnection::kSession, "org.freedesktop.DBus", kTimeLimit)) {
        }
        return true;
    }();
    Q_UNUSED(isThere);
    return QDBusConnection::sessionBus();
}

QDBusPendingCall Bus::call(const QDBusConnection& bus, const QDBusMessage& call, int timeLimit,
                           QObject* context, const std::function<void(const QDBusMessage&)>& then)
{
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, timeLimit), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context, [watcher, then] {
        watcher->deleteLater();
        then(watcher->reply());
    });
    return *watcher;
}

QDBusMessage Bus::callToBus(const QString& method)
{
    return QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                          u"org.freedesktop.DBus"_s, method);
}

void Bus::watchOwner(const QDBusConnection& bus, const QString& service, QObject* context,
                     const std::function<void(const QString&)>& then)
{
    // The subscription comes before the call, so that no change is missed.
    auto* const owners =
        new QDBusServiceWatcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange, context);
    QObject::connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, context,
                     [then](const QString&, const QString&, const QString& owner) { then(owner); });

    auto ownerCall = callToBus(u"GetNameOwner"_s);
    ownerCall << service;
    call(bus, ownerCall, kNoTimeLimit, context, [then](const QDBusMessage& reply) {
        // An error means that there is no owner.
        then(reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString()
                                                        : QString());
    });
}

void Bus::receive(QDBusConnection bus, const QString& path, const QString& interface,
                  const QStringList& names, QObject* receiver, const char* slot)
{
    for (const QString& name : names) {
        bus.connect(QString(), path, interface, name, receiver, slot);
    }
}

#include "platform/bus/Bus.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

using namespace Qt::StringLiterals;

void Bus::ask(const QDBusConnection& bus, const QDBusMessage& question, int timeLimit,
              QObject* context, const std::function<void(const QDBusMessage&)>& then)
{
    auto* const call = new QDBusPendingCallWatcher(bus.asyncCall(question, timeLimit), context);
    QObject::connect(call, &QDBusPendingCallWatcher::finished, context, [call, then] {
        call->deleteLater();
        then(call->reply());
    });
}

QDBusMessage Bus::propertyQuestion(const QString& service, const QString& path,
                                   const QString& interface, const QString& property)
{
    auto question = QDBusMessage::createMethodCall(service, path,
                                                   u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question << interface << property;
    return question;
}

void Bus::watchOwner(const QDBusConnection& bus, const QString& service, QObject* context,
                     const std::function<void(const QString&)>& then)
{
    // The subscription comes before the question, so that no change is missed.
    auto* const owners =
        new QDBusServiceWatcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange, context);
    QObject::connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, context,
                     [then](const QString&, const QString&, const QString& owner) { then(owner); });

    auto question =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"GetNameOwner"_s);
    question << service;
    ask(bus, question, kNoTimeLimit, context, [then](const QDBusMessage& answer) {
        // An error means that there is no owner.
        then(answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toString()
                                                         : QString());
    });
}

Bus::Signals::Signals(QDBusConnection bus, const QString& path, const QString& interface,
                      const QStringList& names)
{
    // Connected by text, as nowhere else: QtDBus's proxy classes, whose signals could be connected
    // as usual, ask for the owner of the service's name.
    for (const QString& name : names) {
        bus.connect(QString(), path, interface, name, this, SIGNAL(received(QDBusMessage)));
    }
}

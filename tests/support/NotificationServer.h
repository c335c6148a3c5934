#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QUuid>

// A notification service, on a connection of its own. This thread plays it, so a client that waits
// for it hangs.
class NotificationServer : public QDBusVirtualObject {
public:
    static inline const QString kService = QString::fromLatin1("org.freedesktop.Notifications");
    static inline const QString kPath = QString::fromLatin1("/org/freedesktop/Notifications");

    QStringList capabilities;
    bool isSilent = false;
    QDBusMessage last; // the last call that wants a reply
    QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QUuid::createUuid().toString());

    explicit NotificationServer(QStringList& calls) : m_calls(calls)
    {
        bus.registerVirtualObject(kPath, this);
        bus.registerService(kService);
    }

    ~NotificationServer() override
    {
        bus.unregisterService(kService);
        QDBusConnection::disconnectFromBus(bus.name());
    }

    QString introspect(const QString& /*path*/) const override { return {}; }

    // Notes "?" for GetCapabilities, "TITLE>REPLACED ID" for Notify, "-ID" for CloseNotification.
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& /*bus*/) override
    {
        call.setDelayedReply(true);
        const auto sent = call.arguments();
        if (call.member() == u"CloseNotification") {
            m_calls += u'-' + sent[0].toString();
            return true;
        }
        m_calls += sent.isEmpty() ? QString(u'?') : sent[3].toString() + u'>' + sent[1].toString();
        last = call;
        if (!isSilent) {
            reply();
        }
        return true;
    }

    void reply()
    {
        const auto sent = last.arguments();
        const uint replaced = sent.value(1).toUInt();
        bus.send(last.createReply(sent.isEmpty() ? QVariant(capabilities)
                                                 : QVariant(replaced ? replaced : ++m_lastId)));
    }

    // Of the last Notify.
    [[nodiscard]] uint replacedId() const { return last.arguments().value(1).toUInt(); }
    [[nodiscard]] QString title() const { return last.arguments().value(3).toString(); }
    [[nodiscard]] QString text() const { return last.arguments().value(4).toString(); }
    [[nodiscard]] int expires() const { return last.arguments().value(7).toInt(); }

    void tell(const QString& name, uint id) const
    {
        auto signal = QDBusMessage::createSignal(kPath, kService, name);
        bus.send(signal << id << QString::fromLatin1("default"));
    }

private:
    QStringList& m_calls;
    uint m_lastId = 0;
};

#pragma once

#include "platform/desktop/DBusMenu.h"
#include "platform/desktop/DBusStruct.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QSignalSpy>
#include <QUuid>
#include <QWidget>
#include <QWindow>

#include <limits>
#include <utility>

// The two kinds of status bar, for the program's tests.
namespace StatusBars {

using Qt::StringLiterals::operator""_s;

inline const QString kWatcher = u"org.kde.StatusNotifierWatcher"_s;
inline const QString kItem = u"org.kde.StatusNotifierItem"_s;
inline const QString kMenu = u"com.canonical.dbusmenu"_s;
inline const QString kProperties = u"org.freedesktop.DBus.Properties"_s;

inline constexpr int kMost = std::numeric_limits<int>::max();

// A watcher, with a host or without. It has a connection of its own, as another process would.
class Watcher : public QDBusVirtualObject {
public:
    explicit Watcher(bool isHostThere = false, int answersLeft = kMost)
        : m_isHostThere(isHostThere), m_answersLeft(answersLeft)
    {
        m_bus.registerVirtualObject(u"/StatusNotifierWatcher"_s, this);
        m_bus.interface()->registerService(kWatcher,
                                           QDBusConnectionInterface::ReplaceExistingService,
                                           QDBusConnectionInterface::AllowReplacement);
    }

    ~Watcher() override { QDBusConnection::disconnectFromBus(m_bus.name()); }

    void setHost(bool isThere)
    {
        m_isHostThere = isThere;
        m_bus.send(QDBusMessage::createSignal(u"/StatusNotifierWatcher"_s, kWatcher,
                                              isThere ? u"StatusNotifierHostRegistered"_s
                                                      : u"StatusNotifierHostUnregistered"_s));
    }

    void answerRest()
    {
        m_answersLeft = kMost;
        for (const QDBusMessage& question : std::exchange(m_unanswered, {})) {
            handleMessage(question, m_bus);
        }
    }

    // The registered item; empty where it has left the bus.
    QString item() const
    {
        return m_bus.interface()->isServiceRegistered(m_item) ? m_item : QString();
    }

    // A host's call. This thread answers it, so it must not block here.
    QDBusMessage call(const QString& interface, const QString& method,
                      const QVariantList& arguments)
    {
        const auto path = interface == kMenu ? u"/MenuBar"_s : u"/StatusNotifierItem"_s;
        auto question = QDBusMessage::createMethodCall(m_item, path, interface, method);
        question.setArguments(arguments);
        QDBusPendingCallWatcher answer(m_bus.asyncCall(question, 5000));
        QSignalSpy(&answer, &QDBusPendingCallWatcher::finished).wait(5000);
        return answer.reply();
    }

    QVariant itemProperty(const QString& name)
    {
        const auto answer = call(kProperties, u"Get"_s, {kItem, name});
        return qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant();
    }

    // The menu's items, in order.
    QList<DBusMenuLayout> items()
    {
        const auto answer = call(kMenu, u"GetLayout"_s, {0, -1, QStringList()});
        QList<DBusMenuLayout> items;
        for (const QVariant& child :
             qdbus_cast<DBusMenuLayout>(answer.arguments().value(1)).children) {
            items += qdbus_cast<DBusMenuLayout>(child);
        }
        return items;
    }

    const QDBusConnection& bus() const { return m_bus; }

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (m_answersLeft == 0) {
            message.setDelayedReply(true);
            m_unanswered += message;
        } else if (message.member() == u"RegisterStatusNotifierItem") {
            m_item = message.arguments().value(0).toString();
            connection.send(message.createReply());
        } else if (message.member() == u"Get") {
            --m_answersLeft;
            connection.send(message.createReply(QVariant::fromValue(QDBusVariant(m_isHostThere))));
        } else {
            return false;
        }
        return true;
    }

private:
    QDBusConnection m_bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QUuid::createUuid().toString());
    bool m_isHostThere;
    int m_answersLeft;
    QString m_item;
    QList<QDBusMessage> m_unanswered;
};

// An XEmbed tray at the bottom of the screen, as long as the object exists.
class Tray {
public:
    Tray()
    {
        m_process.start(u"trayer"_s, {u"--edge"_s, u"bottom"_s, u"--align"_s, u"right"_s,
                                      u"--widthtype"_s, u"request"_s});
    }

    ~Tray()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    // The window that is shown in the tray, if there is one.
    static QWidget* icon()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == u"TrayIcon" && widget->isVisible() &&
                widget->windowHandle()->isExposed()) {
                return widget;
            }
        }
        return nullptr;
    }

private:
    QProcess m_process;
};

} // namespace StatusBars

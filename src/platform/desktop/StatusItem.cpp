#include "platform/desktop/StatusItem.h"

#include "platform/desktop/StatusNotifierItem.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"

#include <QCursor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QMenu>
#include <QPointer>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTextDocument>
#include <QThread>

#include <algorithm>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

const QString kWatcher = u"org.kde.StatusNotifierWatcher"_s; // and its interface
const QString kWatcherPath = u"/StatusNotifierWatcher"_s;

// Emits changed() when a host has come or gone.
class HostSignals : public QObject {
    Q_OBJECT

public:
    explicit HostSignals(QDBusConnection bus)
    {
        // Connected by text, as nowhere else: QtDBus's proxy classes, whose signals could be
        // connected as usual, ask the bus for the sender's name and wait for it. Signals of any
        // sender are taken for the same reason; they only lead to the question for a host.
        for (const auto& name :
             {u"StatusNotifierHostRegistered"_s, u"StatusNotifierHostUnregistered"_s}) {
            bus.connect(QString(), kWatcherPath, kWatcher, name, this, SIGNAL(changed()));
        }
    }

Q_SIGNALS:
    void changed();
};

// Calls `then` with the answer, also an error, on this thread, unless the context is deleted
// before.
template <typename Then>
void ask(const QDBusConnection& bus, const QDBusMessage& question, QObject* context, Then then)
{
    // Without a time limit: while a desktop starts the watcher may answer late. If it ends, the bus
    // answers with an error.
    constexpr int noLimit = std::numeric_limits<int>::max();
    auto* const call = new QDBusPendingCallWatcher(bus.asyncCall(question, noLimit), context);
    QObject::connect(call, &QDBusPendingCallWatcher::finished, context, [call, then] {
        call->deleteLater();
        then(call->reply());
    });
}

// The menu's top left corner: below the icon, or above it where the screen ends.
QPoint menuPosition(const QRect& icon, const QSize& menu, const QRect& screen)
{
    const int below = icon.bottom() + 1;
    const int y = below + menu.height() <= screen.bottom() + 1 ? below : icon.top() - menu.height();
    const int x = std::min(icon.left(), screen.right() + 1 - menu.width());
    return {std::max(x, screen.left()), std::max(y, screen.top())};
}

} // namespace

class StatusItem::Private : public QObject {
public:
    Private(const QString& id, const QString& title);

    void setIcon(const QIcon& icon);
    void setToolTip(const QString& text);
    void setMenu(QMenu* menu);

private:
    void runOnWorker(void (*work)(), void (Private::*then)());
    void watchBus();
    void setWatcher(const QString& uniqueName);
    void askForHost();
    void useHost();
    void useTray();
    void makeTray();
    void updateTray();
    void popUpMenuAtTray();

    const QString m_id;
    const QString m_title;
    QIcon m_icon;
    QString m_toolTip;
    QPointer<QMenu> m_menu;

    // At most one of them exists.
    std::unique_ptr<StatusNotifierItem> m_item;
    std::unique_ptr<QSystemTrayIcon> m_tray;

    bool m_isTrayWanted = false;
    bool m_isTrayComing = false;
    std::optional<QDBusConnection> m_bus;
    std::unique_ptr<HostSignals> m_hosts;
    QString m_watcher; // its unique name on the bus; empty while there is none
    std::shared_ptr<Private*> m_self = std::make_shared<Private*>(this);
};

StatusItem::Private::Private(const QString& id, const QString& title) : m_id(id), m_title(title)
{
    // The first use of the session bus connects to it and waits for its greeting.
    runOnWorker([] { QDBusConnection::sessionBus(); }, &Private::watchBus);
}

StatusItem::StatusItem(const QString& id, const QString& title, QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(id, title))
{}

StatusItem::~StatusItem() = default;

void StatusItem::setIcon(const QIcon& icon)
{
    d->setIcon(icon);
}

void StatusItem::setToolTip(const QString& text)
{
    d->setToolTip(text);
}

void StatusItem::setMenu(QMenu* menu)
{
    d->setMenu(menu);
}

void StatusItem::Private::setIcon(const QIcon& icon)
{
    Q_ASSERT(QThread::currentThread() == thread());
    m_icon = icon;
    if (m_item) {
        m_item->setIcon(icon);
    }
    updateTray();
}

void StatusItem::Private::setToolTip(const QString& text)
{
    Q_ASSERT(QThread::currentThread() == thread());
    m_toolTip = text;
    if (m_item) {
        m_item->setToolTip(text);
    }
    updateTray();
}

void StatusItem::Private::setMenu(QMenu* menu)
{
    Q_ASSERT(QThread::currentThread() == thread());
    m_menu = menu;
    if (m_item) {
        m_item->setMenu(menu);
    }
    updateTray();
}

// Runs `work` on a worker thread and then `then` on the main thread, unless this object is deleted
// before.
void StatusItem::Private::runOnWorker(void (*work)(), void (Private::*then)())
{
    Worker::run([owner = std::weak_ptr(m_self), work, then] {
        work();
        MainQueue::post([owner, then] {
            if (const auto self = owner.lock()) {
                ((*self)->*then)();
            }
        });
    });
}

void StatusItem::Private::watchBus()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        useTray();
        return;
    }
    m_bus = bus;

    // The subscriptions come before the question, so that no change is missed.
    m_hosts = std::make_unique<HostSignals>(bus);
    connect(m_hosts.get(), &HostSignals::changed, this, &Private::askForHost);
    auto* const owners =
        new QDBusServiceWatcher(kWatcher, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) { setWatcher(owner); });

    auto question =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"GetNameOwner"_s);
    question << kWatcher;
    ask(bus, question, this, [this](const QDBusMessage& answer) {
        // An error means that there is no owner.
        setWatcher(answer.type() == QDBusMessage::ReplyMessage
                       ? answer.arguments().value(0).toString()
                       : QString());
    });
}

void StatusItem::Private::setWatcher(const QString& uniqueName)
{
    if (!uniqueName.isEmpty() && uniqueName == m_watcher) {
        return;
    }
    m_watcher = uniqueName;
    m_item.reset(); // it is registered with the former watcher
    if (m_watcher.isEmpty()) {
        useTray();
    } else {
        askForHost();
    }
}

void StatusItem::Private::askForHost()
{
    if (m_watcher.isEmpty()) {
        return;
    }
    // Asked again after each signal: that is about one host, and there may be several.
    auto question = QDBusMessage::createMethodCall(m_watcher, kWatcherPath,
                                                   u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question << kWatcher << u"IsStatusNotifierHostRegistered"_s;
    ask(*m_bus, question, this, [this, asked = m_watcher](const QDBusMessage& answer) {
        if (asked != m_watcher) {
            return;
        }
        const auto value = qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant();
        if (value.toBool()) {
            useHost();
        } else {
            useTray();
        }
    });
}

void StatusItem::Private::useHost()
{
    m_isTrayWanted = false;
    m_tray.reset();
    if (!m_item) {
        m_item = std::make_unique<StatusNotifierItem>(*m_bus, m_watcher, m_id, m_title);
        m_item->setIcon(m_icon);
        m_item->setToolTip(m_toolTip);
        m_item->setMenu(m_menu);
    }
}

void StatusItem::Private::useTray()
{
    m_item.reset();
    m_isTrayWanted = true;
    if (m_tray || m_isTrayComing) {
        return;
    }
    // At its first use in a program QSystemTrayIcon asks the watcher for a host, waits for the
    // answer and never asks again. Here the answer is "none", so from then on it uses the XEmbed
    // tray, also one that starts later. The main thread must not wait, so the first use is on a
    // worker, by a function that does nothing else.
    m_isTrayComing = true;
    runOnWorker([] { QSystemTrayIcon::supportsMessages(); }, &Private::makeTray);
}

void StatusItem::Private::makeTray()
{
    m_isTrayComing = false;
    if (!m_isTrayWanted) {
        return; // a host has come meanwhile
    }
    m_tray = std::make_unique<QSystemTrayIcon>();
    connect(m_tray.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    popUpMenuAtTray(); // Qt itself opens it for the other button
                }
            });
    updateTray();
}

void StatusItem::Private::updateTray()
{
    if (!m_tray) {
        return;
    }
    m_tray->setIcon(m_icon);
    m_tray->setToolTip(Qt::mightBeRichText(m_toolTip) ? Qt::convertFromPlainText(m_toolTip)
                                                      : m_toolTip);
    m_tray->setContextMenu(m_menu);
    m_tray->setVisible(!m_icon.isNull());
}

void StatusItem::Private::popUpMenuAtTray()
{
    if (!m_menu) {
        return;
    }
    QRect icon = m_tray->geometry();
    if (icon.isEmpty()) {
        icon = QRect(QCursor::pos(), QSize(1, 1));
    }
    const QScreen* screen = QGuiApplication::screenAt(icon.center());
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    m_menu->popup(menuPosition(icon, m_menu->sizeHint(), screen->geometry()));
}

#include "StatusItem.moc"

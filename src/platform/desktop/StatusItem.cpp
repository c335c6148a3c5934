#include "platform/desktop/StatusItem.h"

#include "platform/bus/Bus.h"
#include "platform/desktop/StatusNotifierItem.h"
#include "platform/desktop/TrayIcon.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"

#include <QDBusMessage>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace {

const QString kWatcher = u"org.kde.StatusNotifierWatcher"_s; // and its interface
const QString kWatcherPath = u"/StatusNotifierWatcher"_s;

} // namespace

StatusItem::StatusItem(const QString& title, const QIcon& icon, QMenu& menu)
    : m_content{title, icon, menu}
{
    Worker::runThen(&Bus::session, this, [this](const QDBusConnection& bus) { watchBus(bus); });
}

StatusItem::~StatusItem() = default;

void StatusItem::setIcon(const QIcon& icon)
{
    m_content.icon = icon;
    contentChanged();
}

void StatusItem::setToolTip(const QString& text)
{
    m_content.toolTip = text;
    contentChanged();
}

void StatusItem::contentChanged()
{
    MainQueue::assertMainThread();
    if (m_hostItem) {
        m_hostItem->contentChanged();
    }
    if (m_trayIcon) {
        m_trayIcon->contentChanged();
    }
}

bool StatusItem::hasPlace() const
{
    return m_isInHost || (m_trayIcon && m_trayIcon->isShown());
}

void StatusItem::watchBus(const QDBusConnection& bus)
{
    if (!bus.isConnected()) {
        use(false);
        return;
    }
    m_bus = bus;
    m_hostItem = std::make_unique<StatusNotifierItem>(bus, m_content);

    // The subscriptions come before the call that asks for a host, so that no change is missed.
    Bus::receive(bus, kWatcherPath, kWatcher,
                 {u"StatusNotifierHostRegistered"_s, u"StatusNotifierHostUnregistered"_s}, this,
                 SLOT(askForHost()));
    Bus::watchOwner(bus, kWatcher, this, [this](const QString& owner) { setWatcher(owner); });
}

void StatusItem::setWatcher(const QString& uniqueName)
{
    if (!uniqueName.isEmpty() && uniqueName == m_watcher) {
        return;
    }
    m_watcher = uniqueName;
    m_isInHost = false; // registered with the former watcher
    if (m_watcher.isEmpty()) {
        use(false);
    } else {
        askForHost();
    }
}

void StatusItem::askForHost()
{
    if (m_watcher.isEmpty()) {
        return;
    }
    // Called again after each signal: that is about one host, and there may be several.
    // While a desktop starts the watcher may reply late, hence no time limit.
    auto call = QDBusMessage::createMethodCall(m_watcher, kWatcherPath,
                                               u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    call << kWatcher << u"IsStatusNotifierHostRegistered"_s;
    Bus::call(
        *m_bus, call, Bus::kNoTimeLimit, this,
        [this, called = m_watcher](const QDBusMessage& reply) {
            if (called == m_watcher) {
                use(qvariant_cast<QDBusVariant>(reply.arguments().value(0)).variant().toBool());
            }
        });
}

// Shows the icon in the host, else in a tray.
void StatusItem::use(bool isHostThere)
{
    if (!isHostThere && !m_trayIcon) {
        m_trayIcon = std::make_unique<TrayIcon>(m_content);
    } else if (isHostThere && !m_isInHost) {
        m_trayIcon.reset();
        m_hostItem->registerWith(m_watcher);
    }
    m_isInHost = isHostThere;
}

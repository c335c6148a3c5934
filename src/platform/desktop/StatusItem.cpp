#include "platform/desktop/StatusItem.h"

#include "platform/bus/Bus.h"
#include "platform/desktop/StatusNotifierItem.h"
#include "platform/desktop/TrayIcon.h"
#include "platform/threads/Worker.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QMenu>
#include <QPointer>
#include <QThread>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const QString kWatcher = u"org.kde.StatusNotifierWatcher"_s; // and its interface
const QString kWatcherPath = u"/StatusNotifierWatcher"_s;

} // namespace

class StatusItem::Private : public QObject {
    Q_OBJECT

public:
    Private(const QString& id, const QString& title);

    void setIcon(const QIcon& icon);
    void setToolTip(const QString& text);
    void setMenu(QMenu* menu);
    [[nodiscard]] bool hasPlace() const { return m_item || (m_tray && m_tray->isShown()); }

private Q_SLOTS:
    void askForHost();

private:
    void watchBus(const QDBusConnection& bus);
    void setWatcher(const QString& uniqueName);
    void useHost();
    void useTray();

    const QString m_id;
    const QString m_title;
    QIcon m_icon;
    QString m_toolTip;
    QPointer<QMenu> m_menu;

    // At most one of them exists.
    std::unique_ptr<StatusNotifierItem> m_item;
    std::unique_ptr<TrayIcon> m_tray;

    std::optional<QDBusConnection> m_bus;
    QString m_watcher; // its unique name on the bus; empty while there is none
    const std::shared_ptr<void> m_self = std::make_shared<char>(); // ends with this object
};

StatusItem::Private::Private(const QString& id, const QString& title) : m_id(id), m_title(title)
{
    Worker::runThen(&Bus::session, m_self, [this](const QDBusConnection& bus) { watchBus(bus); });
}

StatusItem::StatusItem(const QString& id, const QString& title, QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(id, title))
{}

StatusItem::~StatusItem() = default;

void StatusItem::setIcon(const QIcon& icon)
{
    if (d) {
        d->setIcon(icon);
    }
}

bool StatusItem::hasPlace() const
{
    return d && d->hasPlace();
}

void StatusItem::setToolTip(const QString& text)
{
    if (d) {
        d->setToolTip(text);
    }
}

void StatusItem::setMenu(QMenu* menu)
{
    if (d) {
        d->setMenu(menu);
    }
}

void StatusItem::hide()
{
    d.reset();
}

void StatusItem::Private::setIcon(const QIcon& icon)
{
    Q_ASSERT(QThread::currentThread() == thread());
    m_icon = icon;
    if (m_item) {
        m_item->setIcon(icon);
    }
    if (m_tray) {
        m_tray->setIcon(icon);
    }
}

void StatusItem::Private::setToolTip(const QString& text)
{
    Q_ASSERT(QThread::currentThread() == thread());
    m_toolTip = text;
    if (m_item) {
        m_item->setToolTip(text);
    }
    if (m_tray) {
        m_tray->setToolTip(text);
    }
}

void StatusItem::Private::setMenu(QMenu* menu)
{
    Q_ASSERT(QThread::currentThread() == thread());
    m_menu = menu;
    if (m_item) {
        m_item->setMenu(menu);
    }
    if (m_tray) {
        m_tray->setMenu(menu);
    }
}

void StatusItem::Private::watchBus(const QDBusConnection& bus)
{
    if (!bus.isConnected()) {
        useTray();
        return;
    }
    m_bus = bus;

    // The subscriptions come before the question for a host, so that no change is missed.
    Bus::receive(bus, kWatcherPath, kWatcher,
                 {u"StatusNotifierHostRegistered"_s, u"StatusNotifierHostUnregistered"_s}, this,
                 SLOT(askForHost()));
    Bus::watchOwner(bus, kWatcher, this, [this](const QString& owner) { setWatcher(owner); });
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
    // While a desktop starts the watcher may answer late, hence no time limit.
    auto question = QDBusMessage::createMethodCall(m_watcher, kWatcherPath,
                                                   u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question << kWatcher << u"IsStatusNotifierHostRegistered"_s;
    Bus::ask(*m_bus, question, Bus::kNoTimeLimit, this,
             [this, asked = m_watcher](const QDBusMessage& answer) {
                 if (asked != m_watcher) {
                     return;
                 }
                 const auto value =
                     qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant();
                 if (value.toBool()) {
                     useHost();
                 } else {
                     useTray();
                 }
             });
}

void StatusItem::Private::useHost()
{
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
    if (!m_tray) {
        m_tray = std::make_unique<TrayIcon>(m_title);
        m_tray->setToolTip(m_toolTip);
        m_tray->setMenu(m_menu);
        m_tray->setIcon(m_icon);
    }
}

#include "StatusItem.moc"

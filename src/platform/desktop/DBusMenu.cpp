#include "platform/desktop/DBusMenu.h"

#include "platform/desktop/DBusMenuItemProperties.h"
#include "platform/desktop/DBusStruct.h"
#include "platform/desktop/WindowActivation.h"

#include <QAction>
#include <QActionEvent>
#include <QDBusMetaType>
#include <QGuiApplication>
#include <QMenu>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRoot = 0;

// Never used twice in a run of the program: a host may still show an earlier menu, and must take
// neither a newer layout for an old one nor an action for another.
uint lastRevision = 0;
int lastId = kRoot;

// The named properties; no names means all.
QVariantMap filtered(QVariantMap properties, const QStringList& names)
{
    if (!names.isEmpty()) {
        properties.removeIf([&](auto property) { return !names.contains(property.key()); });
    }
    return properties;
}

} // namespace

DBusMenu::DBusMenu(const QDBusConnection& bus, QObject* parent)
    : QObject(parent), m_bus(bus), m_revision(++lastRevision)
{
    qDBusRegisterMetaType<DBusMenuItem>();
    qDBusRegisterMetaType<QList<DBusMenuItem>>();
    qDBusRegisterMetaType<DBusMenuItemKeys>();
    qDBusRegisterMetaType<QList<DBusMenuItemKeys>>();
    qDBusRegisterMetaType<DBusMenuLayout>();
    qDBusRegisterMetaType<DBusMenuEvent>();
    qDBusRegisterMetaType<QList<DBusMenuEvent>>();
    qDBusRegisterMetaType<QList<QStringList>>();

    m_announcement.setSingleShot(true);
    m_announcement.setInterval(0);
    connect(&m_announcement, &QTimer::timeout, this, &DBusMenu::announceChanges);
    m_bus.registerObject(path(), this, QDBusConnection::ExportScriptableContents);
}

DBusMenu::~DBusMenu()
{
    m_bus.unregisterObject(path());
}

QString DBusMenu::path()
{
    // Any path would do; this is the usual one.
    return u"/MenuBar"_s;
}

void DBusMenu::setMenu(QMenu* menu)
{
    if (m_menu == menu) {
        return;
    }
    if (m_menu) {
        m_menu->removeEventFilter(this);
    }
    m_menu = menu;
    if (m_menu) {
        m_menu->installEventFilter(this);
    }
    m_announcement.start();
}

QString DBusMenu::status() const
{
    return u"normal"_s; // "notice" would ask for attention
}

QString DBusMenu::textDirection() const
{
    return QGuiApplication::isRightToLeft() ? u"rtl"_s : u"ltr"_s;
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         DBusMenuLayout& layout)
{
    if (!isKnown(parentId)) {
        replyNoSuchItem(parentId);
        return 0;
    }
    layout.id = parentId;
    layout.properties = filtered(propertiesOf(parentId), propertyNames);
    if (parentId == kRoot && recursionDepth != 0) {
        const auto all = actions();
        for (QAction* const action : all) {
            layout.children += QVariant::fromValue(DBusMenuLayout{
                idOf(action), filtered(DBusMenuItemProperties::of(*action), propertyNames), {}});
        }
    }
    return m_revision;
}

QList<DBusMenuItem> DBusMenu::GetGroupProperties(const QList<int>& ids,
                                                 const QStringList& propertyNames)
{
    // Walks our items, not the host's list: the answer is never longer than the menu.
    std::set<int> known = {kRoot};
    const auto all = actions();
    for (QAction* const action : all) {
        known.insert(idOf(action));
    }
    const std::set<int> wanted(ids.begin(), ids.end());
    QList<DBusMenuItem> items;
    for (const int id : known) {
        if (wanted.empty() || wanted.contains(id)) {
            items += DBusMenuItem{id, filtered(propertiesOf(id), propertyNames)};
        }
    }
    return items;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name)
{
    const QVariant value = isKnown(id) ? propertiesOf(id).value(name) : QVariant();
    if (!value.isValid()) {
        replyNoSuchItem(id);
        return {};
    }
    return QDBusVariant(value);
}

void DBusMenu::Event(int id, const QString& eventId, const QDBusVariant& /*data*/, uint timestamp)
{
    if (!handleEvent(id, eventId, timestamp)) {
        replyNoSuchItem(id);
    }
}

QList<int> DBusMenu::EventGroup(const QList<DBusMenuEvent>& events)
{
    QList<int> idErrors;
    for (const DBusMenuEvent& event : events) {
        if (!handleEvent(event.id, event.eventId, event.timestamp)) {
            idErrors += event.id;
        }
    }
    if (!events.isEmpty() && idErrors.size() == events.size()) {
        replyNoSuchItem(idErrors.first());
    }
    return idErrors;
}

bool DBusMenu::AboutToShow(int id)
{
    if (!isKnown(id)) {
        replyNoSuchItem(id);
        return false;
    }
    if (id == kRoot && m_menu) {
        Q_EMIT openedByHost();
        Q_EMIT m_menu->aboutToShow();
    }
    const bool isOutdated = m_announcement.isActive();
    if (isOutdated) {
        announceChanges();
    }
    return isOutdated;
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors)
{
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(idErrors),
                 [this](int id) { return !isKnown(id); });
    if (!ids.isEmpty() && idErrors.size() == ids.size()) {
        replyNoSuchItem(idErrors.first());
        return {};
    }
    return ids.contains(kRoot) && AboutToShow(kRoot) ? QList<int>{kRoot} : QList<int>();
}

bool DBusMenu::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_menu) {
        switch (event->type()) {
        case QEvent::ActionChanged:
            m_changed.insert(idOf(static_cast<QActionEvent*>(event)->action()));
            [[fallthrough]];
        case QEvent::ActionAdded:
        case QEvent::ActionRemoved:
            m_announcement.start();
            break;
        default:
            break;
        }
    }
    return QObject::eventFilter(watched, event);
}

QList<QAction*> DBusMenu::actions() const
{
    return m_menu ? m_menu->actions() : QList<QAction*>();
}

int DBusMenu::idOf(QAction* action)
{
    // The guarded pointers tell: a new action may have a deleted one's address.
    std::erase_if(m_numbers, [](const Numbered& numbered) { return numbered.action.isNull(); });
    const auto found = std::find_if(m_numbers.begin(), m_numbers.end(),
                                    [&](const Numbered& n) { return n.action == action; });
    if (found != m_numbers.end()) {
        return found->id;
    }
    m_numbers.push_back({++lastId, action});
    return lastId;
}

QAction* DBusMenu::actionOf(int id) const
{
    const auto found = std::find_if(m_numbers.begin(), m_numbers.end(),
                                    [&](const Numbered& n) { return n.id == id; });
    return found != m_numbers.end() && actions().contains(found->action) ? found->action.data()
                                                                         : nullptr;
}

bool DBusMenu::isKnown(int id) const
{
    return id == kRoot || actionOf(id) != nullptr;
}

QVariantMap DBusMenu::propertiesOf(int id) const
{
    if (const QAction* const action = actionOf(id)) {
        return DBusMenuItemProperties::of(*action);
    }
    return {{u"children-display"_s, u"submenu"_s}};
}

bool DBusMenu::handleEvent(int id, const QString& eventId, uint timestamp)
{
    QAction* const action = actionOf(id);
    if (action != nullptr && eventId == u"clicked" && !action->isSeparator()) {
        // Later, so that the host has its answer before a modal dialog may open; and with the
        // action as context, since this object may be deleted before, when the host ends.
        QMetaObject::invokeMethod(
            action,
            [action, timestamp] {
                if (action->isEnabled() && action->isVisible()) {
                    WindowActivation::noteAction(timestamp);
                    action->trigger();
                }
            },
            Qt::QueuedConnection);
    }
    if (id == kRoot && eventId == u"opened") {
        Q_EMIT openedByHost();
    }
    return isKnown(id);
}

void DBusMenu::replyNoSuchItem(int id)
{
    sendErrorReply(QDBusError::InvalidArgs, u"No such item: %1"_s.arg(id));
}

void DBusMenu::announceChanges()
{
    m_announcement.stop();
    m_revision = ++lastRevision;

    // For hosts that don't fetch the properties again when the layout has changed.
    QList<DBusMenuItem> updated;
    QList<DBusMenuItemKeys> removed;
    for (const int id : m_changed) {
        if (actionOf(id) == nullptr) {
            continue;
        }
        updated += DBusMenuItem{id, propertiesOf(id)};
        QStringList absent = DBusMenuItemProperties::optionalNames();
        absent.removeIf(
            [&](const QString& name) { return updated.last().properties.contains(name); });
        removed += DBusMenuItemKeys{id, absent};
    }
    m_changed.clear();
    if (!updated.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(updated, removed);
    }
    Q_EMIT LayoutUpdated(m_revision, kRoot);
}

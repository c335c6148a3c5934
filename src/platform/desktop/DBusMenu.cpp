#include "platform/desktop/DBusMenu.h"

#include "platform/desktop/DBusStruct.h"
#include "platform/desktop/WindowActivation.h"

#include <QAction>
#include <QBuffer>
#include <QDBusMetaType>
#include <QEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QKeySequence>
#include <QMenu>
#include <QPixmap>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRoot = 0;

// Never used twice in a run of the program: a host may still show an earlier menu, and must take
// neither a newer layout for an old one nor an action for another.
uint lastRevision = 0;
int lastId = kRoot;

// An action's text on one line. An underscore marks the mnemonic and "__" is one underscore, as it
// is with the ampersand in Qt.
QString labelOf(const QString& text)
{
    QString label;
    for (const auto* at = text.cbegin(); at != text.cend(); ++at) {
        if (*at == u'&') {
            if (++at == text.cend()) {
                break;
            }
            if (at->isLetterOrNumber()) {
                label += u'_';
            }
        }
        const bool isControl = at->category() == QChar::Other_Control;
        label += *at == u'_' ? u"__"_s : QString(isControl ? QChar(u' ') : *at);
    }
    return label.simplified();
}

// Sixteen logical pixels, the usual size of pictures in menus, at the scale of this program's
// screens. Hosts scale larger pictures down, and lines of one pixel get lost then.
QByteArray pngOf(const QIcon& icon)
{
    QBuffer png;
    icon.pixmap(QSize(16, 16), qGuiApp->devicePixelRatio()).save(&png, "PNG");
    return png.data();
}

// A list for each key press: its modifiers, then the key.
QList<QStringList> shortcutOf(const QKeySequence& sequence)
{
    QList<QStringList> presses;
    for (const QString& press : sequence.toString(QKeySequence::PortableText).split(u", "_s)) {
        QStringList names = press.split(u'+');
        names.replaceInStrings(u"Ctrl"_s, u"Control"_s).replaceInStrings(u"Meta"_s, u"Super"_s);
        if (names.constLast().size() == 1) {
            names.last() = names.constLast().toLower();
        }
        presses += names;
    }
    return presses;
}

// An action keeps its ID.
int idOf(QAction& action)
{
    constexpr auto kId = "dbusMenuId";
    if (!action.property(kId).isValid()) {
        action.setProperty(kId, ++lastId);
    }
    return action.property(kId).toInt();
}

QVariantMap propertiesOf(const QAction& action)
{
    if (action.isSeparator()) {
        return {{u"visible"_s, action.isVisible()}, {u"type"_s, u"separator"_s}};
    }
    QVariantMap properties = {{u"visible"_s, action.isVisible()},
                              {u"label"_s, labelOf(action.text())},
                              {u"enabled"_s, action.isEnabled()}};
    if (!action.icon().isNull() && action.isIconVisibleInMenu()) {
        properties[u"icon-data"_s] = pngOf(action.icon());
    }
    if (!action.shortcut().isEmpty()) {
        properties[u"shortcut"_s] = QVariant::fromValue(shortcutOf(action.shortcut()));
    }
    return properties;
}

// The named properties; no names means all.
QVariantMap filtered(QVariantMap properties, const QStringList& names)
{
    if (!names.isEmpty()) {
        properties.removeIf([&](auto property) { return !names.contains(property.key()); });
    }
    return properties;
}

} // namespace

DBusMenu::DBusMenu(const QDBusConnection& bus) : m_bus(bus), m_revision(++lastRevision)
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

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         DBusMenuLayout& layout)
{
    if (!isKnown(parentId)) {
        replyNoSuchItem(parentId);
        return 0;
    }
    m_isRead = true;
    layout.id = parentId;
    layout.properties = filtered(propertiesOf(parentId), propertyNames);
    if (parentId == kRoot && recursionDepth != 0) {
        for (QAction* const action : actions()) {
            layout.children += QVariant::fromValue(DBusMenuLayout{
                idOf(*action), filtered(::propertiesOf(*action), propertyNames), {}});
        }
    }
    return m_revision;
}

QList<DBusMenuItem> DBusMenu::GetGroupProperties(const QList<int>& ids,
                                                 const QStringList& propertyNames)
{
    // Walks our items, not the host's list: the reply is never longer than the menu.
    QList<int> known = {kRoot};
    for (QAction* const action : actions()) {
        known += idOf(*action);
    }
    m_isRead = true;
    QList<DBusMenuItem> items;
    for (const int id : known) {
        if (ids.isEmpty() || ids.contains(id)) {
            items += DBusMenuItem{id, filtered(propertiesOf(id), propertyNames)};
        }
    }
    return items;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name)
{
    m_isRead = true;
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
    if (event->type() == QEvent::ActionChanged || event->type() == QEvent::ActionAdded ||
        event->type() == QEvent::ActionRemoved) {
        m_announcement.start();
    }
    return QObject::eventFilter(watched, event);
}

QList<QAction*> DBusMenu::actions() const
{
    return m_menu ? m_menu->actions() : QList<QAction*>();
}

QAction* DBusMenu::actionOf(int id) const
{
    for (QAction* const action : actions()) {
        if (idOf(*action) == id) {
            return action;
        }
    }
    return nullptr;
}

bool DBusMenu::isKnown(int id) const
{
    return id == kRoot || actionOf(id) != nullptr;
}

QVariantMap DBusMenu::propertiesOf(int id) const
{
    if (const QAction* const action = actionOf(id)) {
        return ::propertiesOf(*action);
    }
    return {{u"children-display"_s, u"submenu"_s}};
}

bool DBusMenu::handleEvent(int id, const QString& eventId, uint timestamp)
{
    QAction* const action = actionOf(id);
    if (action != nullptr && eventId == u"clicked" && !action->isSeparator()) {
        // Later, so that the host has its reply before a modal dialog may open; and with the
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
    if (!m_isRead) {
        return;
    }

    // For hosts that don't fetch the properties again when the layout has changed.
    QList<DBusMenuItem> updated;
    QList<DBusMenuItemKeys> removed;
    for (QAction* const action : actions()) {
        const QVariantMap properties = ::propertiesOf(*action);
        QStringList absent = {u"icon-data"_s, u"shortcut"_s, u"type"_s, u"label"_s, u"enabled"_s};
        absent.removeIf([&](const QString& name) { return properties.contains(name); });
        updated += DBusMenuItem{idOf(*action), properties};
        removed += DBusMenuItemKeys{idOf(*action), absent};
    }
    if (!updated.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(updated, removed);
    }
    Q_EMIT LayoutUpdated(m_revision, kRoot);
}

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
#include <utility>

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

// A list for each key press: its modifiers, then the key. Ours are one letter with Ctrl.
QList<QStringList> shortcutOf(const QKeySequence& sequence)
{
    QStringList names = sequence.toString(QKeySequence::PortableText).split(u'+');
    names.replaceInStrings(u"Ctrl"_s, u"Control"_s);
    names.last() = names.constLast().toLower();
    return {names};
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

} // namespace

DBusMenu::DBusMenu(const QDBusConnection& bus, QMenu& menu)
    : m_bus(bus), m_menu(menu), m_revision(++lastRevision)
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
    m_menu.installEventFilter(this);
    m_bus.registerObject(path(), this, QDBusConnection::ExportScriptableContents);
}

DBusMenu::~DBusMenu()
{
    m_bus.unregisterObject(path());
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         DBusMenuLayout& layout)
{
    if (!isKnown(parentId)) {
        replyNoSuchItem(parentId);
        return 0;
    }
    m_isRead = true;
    for (const DBusMenuItem& item : items(propertyNames)) {
        if (item.id == parentId) {
            layout = {item.id, item.properties, {}};
        } else if (parentId == kRoot && recursionDepth != 0) {
            layout.children += QVariant::fromValue(DBusMenuLayout{item.id, item.properties, {}});
        }
    }
    return m_revision;
}

QList<DBusMenuItem> DBusMenu::GetGroupProperties(const QList<int>& ids,
                                                 const QStringList& propertyNames)
{
    m_isRead = true;
    // Of our items, not of the host's list: the reply is never longer than the menu.
    QList<DBusMenuItem> asked = items(propertyNames);
    asked.removeIf(
        [&](const DBusMenuItem& item) { return !ids.isEmpty() && !ids.contains(item.id); });
    return asked;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name)
{
    const QVariant value = GetGroupProperties({id}, {name}).value(0).properties.value(name);
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
    if (id == kRoot) {
        Q_EMIT openedByHost();
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

QAction* DBusMenu::actionOf(int id) const
{
    for (QAction* const action : m_menu.actions()) {
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

QList<DBusMenuItem> DBusMenu::items(const QStringList& propertyNames) const
{
    QList<DBusMenuItem> items = {DBusMenuItem{kRoot, {{u"children-display"_s, u"submenu"_s}}}};
    for (QAction* const action : m_menu.actions()) {
        items += DBusMenuItem{idOf(*action), propertiesOf(*action)};
    }
    for (DBusMenuItem& item : items) {
        item.properties.removeIf([&](auto property) {
            return !propertyNames.isEmpty() && !propertyNames.contains(property.key());
        });
    }
    return items;
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
    QList<DBusMenuItem> updated = items({});
    updated.removeFirst(); // the menu itself stays as it is
    QList<DBusMenuItemKeys> removed;
    for (const DBusMenuItem& item : std::as_const(updated)) {
        QStringList absent = {u"icon-data"_s, u"shortcut"_s, u"type"_s, u"label"_s, u"enabled"_s};
        absent.removeIf([&](const QString& name) { return item.properties.contains(name); });
        removed += DBusMenuItemKeys{item.id, absent};
    }
    if (!updated.isEmpty()) {
        Q_EMIT ItemsPropertiesUpdated(updated, removed);
    }
    Q_EMIT LayoutUpdated(m_revision, kRoot);
}

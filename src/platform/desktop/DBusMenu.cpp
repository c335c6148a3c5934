#include "platform/desktop/DBusMenu.h"

#include "platform/desktop/DBusStruct.h"
#include "platform/desktop/WindowActivation.h"

#include <QAction>
#include <QActionEvent>
#include <QBuffer>
#include <QDBusMetaType>
#include <QGuiApplication>
#include <QIcon>
#include <QKeySequence>
#include <QMenu>
#include <QPixmap>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRoot = 0;

// Counted on over all menus of the program's run: a host that holds on to an earlier menu neither
// takes a newer layout for an old one nor an action for another.
uint lastRevision = 0;
int lastId = kRoot;

const QString kType = u"type"_s;
const QString kLabel = u"label"_s;
const QString kEnabled = u"enabled"_s;
const QString kVisible = u"visible"_s;
const QString kIconData = u"icon-data"_s;
const QString kShortcut = u"shortcut"_s;
const QString kChildrenDisplay = u"children-display"_s;

// An action's text as dbusmenu has it. There the underscore marks the mnemonic and is doubled to
// stand for itself, as the ampersand is in Qt.
QString labelOf(const QString& text)
{
    QString label;
    bool marked = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        QChar character = text[i];
        if (character == u'&') {
            if (++i == text.size()) {
                break;
            }
            character = text[i];
            if (!marked && character.isLetterOrNumber()) {
                label += u'_';
                marked = true;
            }
        }
        const auto category = character.category();
        if (category == QChar::Other_Control || category == QChar::Separator_Line ||
            category == QChar::Separator_Paragraph) {
            label += u' ';
        } else if (character == u'_') {
            label += u"__"_s;
        } else {
            label += character;
        }
    }
    return label;
}

// Sixteen logical pixels, the size of menu pictures everywhere, for the scale of this program's
// screens. Hosts draw what fits as it is; they scale larger pictures down, and a line of one pixel
// does not survive that.
QByteArray pngOf(const QIcon& icon)
{
    QByteArray png;
    if (!icon.isNull()) {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        icon.pixmap(QSize(16, 16), qGuiApp->devicePixelRatio()).save(&buffer, "PNG");
    }
    return png;
}

// One list for each key press, its modifiers before the key.
QList<QStringList> shortcutOf(const QKeySequence& sequence)
{
    QList<QStringList> presses;
    for (int i = 0; i < sequence.count(); ++i) {
        const QKeyCombination press = sequence[static_cast<uint>(i)];
        QStringList names;
        for (const auto& [modifier, name] :
             {std::pair(Qt::ControlModifier, u"Control"_s), std::pair(Qt::AltModifier, u"Alt"_s),
              std::pair(Qt::ShiftModifier, u"Shift"_s), std::pair(Qt::MetaModifier, u"Super"_s)}) {
            if (press.keyboardModifiers().testFlag(modifier)) {
                names += name;
            }
        }
        const QString key = QKeySequence(press.key()).toString(QKeySequence::PortableText);
        // Hosts take a list apart and join it with "+" or "-", as their toolkit has it.
        if (key == u"+") {
            names += u"plus"_s;
        } else if (key == u"-") {
            names += u"minus"_s;
        } else {
            names += key.size() == 1 ? key.toLower() : key;
        }
        presses += names;
    }
    return presses;
}

QVariantMap propertiesOfAction(const QAction& action)
{
    QVariantMap properties;
    properties[kVisible] = action.isVisible();
    if (action.isSeparator()) {
        properties[kType] = u"separator"_s;
        return properties;
    }
    properties[kLabel] = labelOf(action.text());
    properties[kEnabled] = action.isEnabled();
    if (const QByteArray png = pngOf(action.icon());
        !png.isEmpty() && action.isIconVisibleInMenu()) {
        properties[kIconData] = png;
    }
    if (!action.shortcut().isEmpty()) {
        properties[kShortcut] = QVariant::fromValue(shortcutOf(action.shortcut()));
    }
    return properties;
}

// No names stands for all.
QVariantMap only(QVariantMap properties, const QStringList& names)
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

    m_untold.setSingleShot(true);
    m_untold.setInterval(0);
    connect(&m_untold, &QTimer::timeout, this, &DBusMenu::tellChanges);
    m_bus.registerObject(path(), this, QDBusConnection::ExportScriptableContents);
}

DBusMenu::~DBusMenu()
{
    m_bus.unregisterObject(path());
}

QString DBusMenu::path()
{
    // Any path would do; this one is what the hosts meet most.
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
    m_untold.start();
}

QString DBusMenu::status() const
{
    return u"normal"_s; // the other value, "notice", asks for attention
}

QString DBusMenu::textDirection() const
{
    return QGuiApplication::isRightToLeft() ? u"rtl"_s : u"ltr"_s;
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         DBusMenuLayout& layout)
{
    if (!isKnown(parentId)) {
        refuse(parentId);
        return 0;
    }
    layout.id = parentId;
    layout.properties = only(propertiesOf(parentId), propertyNames);
    if (parentId == kRoot && recursionDepth != 0) {
        const auto all = actions();
        for (QAction* const action : all) {
            layout.children += QVariant::fromValue(
                DBusMenuLayout{idOf(action), only(propertiesOfAction(*action), propertyNames), {}});
        }
    }
    return m_revision;
}

QList<DBusMenuItem> DBusMenu::GetGroupProperties(const QList<int>& ids,
                                                 const QStringList& propertyNames)
{
    // Through our items, not through theirs: the answer is no longer than the menu however often
    // an item is asked for.
    std::set<int> known = {kRoot};
    const auto all = actions();
    for (QAction* const action : all) {
        known.insert(idOf(action));
    }
    const std::set<int> wanted(ids.begin(), ids.end());
    QList<DBusMenuItem> items;
    for (const int id : known) {
        if (wanted.empty() || wanted.contains(id)) {
            items += DBusMenuItem{id, only(propertiesOf(id), propertyNames)};
        }
    }
    return items;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name)
{
    const QVariant value = isKnown(id) ? propertiesOf(id).value(name) : QVariant();
    if (!value.isValid()) {
        refuse(id);
        return {};
    }
    return QDBusVariant(value);
}

void DBusMenu::Event(int id, const QString& eventId, const QDBusVariant& /*data*/, uint timestamp)
{
    if (!takeEvent(id, eventId, timestamp)) {
        refuse(id);
    }
}

QList<int> DBusMenu::EventGroup(const QList<DBusMenuEvent>& events)
{
    QList<int> idErrors;
    for (const DBusMenuEvent& event : events) {
        if (!takeEvent(event.id, event.eventId, event.timestamp)) {
            idErrors += event.id;
        }
    }
    if (!events.isEmpty() && idErrors.size() == events.size()) {
        refuse(idErrors.first());
    }
    return idErrors;
}

bool DBusMenu::AboutToShow(int id)
{
    if (!isKnown(id)) {
        refuse(id);
        return false;
    }
    if (id == kRoot && m_menu) {
        Q_EMIT m_menu->aboutToShow();
    }
    const bool isOutdated = m_untold.isActive();
    if (isOutdated) {
        tellChanges();
    }
    return isOutdated;
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors)
{
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(idErrors),
                 [this](int id) { return !isKnown(id); });
    if (!ids.isEmpty() && idErrors.size() == ids.size()) {
        refuse(idErrors.first());
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
            m_untold.start();
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
    // By the guarded pointers: a new action may stand at a deleted one's address.
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
        return propertiesOfAction(*action);
    }
    return {{kChildrenDisplay, u"submenu"_s}};
}

bool DBusMenu::takeEvent(int id, const QString& eventId, uint timestamp)
{
    QAction* const action = actionOf(id);
    if (action != nullptr && eventId == u"clicked" && !action->isSeparator()) {
        // Later, so that the host has its answer before what may be a modal dialog; and not by way
        // of this object, which goes with the host while the click remains the person's.
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
    return isKnown(id);
}

void DBusMenu::refuse(int id)
{
    sendErrorReply(QDBusError::InvalidArgs, u"No such item: %1"_s.arg(id));
}

void DBusMenu::tellChanges()
{
    m_untold.stop();
    m_revision = ++lastRevision;

    // Some hosts fetch an item's properties again with the layout, others only the numbers.
    static const QStringList optional = {kIconData, kShortcut, kType, kLabel, kEnabled};
    QList<DBusMenuItem> updated;
    QList<DBusMenuItemKeys> removed;
    for (const int id : m_changed) {
        if (actionOf(id) == nullptr) {
            continue;
        }
        updated += DBusMenuItem{id, propertiesOf(id)};
        QStringList absent = optional;
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

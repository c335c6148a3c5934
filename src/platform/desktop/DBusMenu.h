#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusVariant>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <tuple>

class QAction;
class QMenu;

// The structures of com.canonical.dbusmenu, with their D-Bus signatures.

struct DBusMenuItem { // (ia{sv})
    int id = 0;
    QVariantMap properties;

    static auto fields(auto& self) { return std::tie(self.id, self.properties); }
};

struct DBusMenuItemKeys { // (ias)
    int id = 0;
    QStringList names;

    static auto fields(auto& self) { return std::tie(self.id, self.names); }
};

struct DBusMenuLayout { // (ia{sv}av); the children are such structures, too
    int id = 0;
    QVariantMap properties;
    QVariantList children;

    static auto fields(auto& self) { return std::tie(self.id, self.properties, self.children); }
};

struct DBusMenuEvent { // (isvu)
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;

    static auto fields(auto& self)
    {
        return std::tie(self.id, self.eventId, self.data, self.timestamp);
    }
};

// Exports a QMenu to the hosts that draw it themselves: com.canonical.dbusmenu, version 3.
//
// The menu is flat: titles, pictures, shortcuts, separators, enabling and visibility, but no
// submenus and check marks. Item 0 is the menu itself. An action keeps its number as long as it
// exists, and no number is used twice in a run of the program: a click in a menu that the host has
// not updated yet triggers the right action or none.
//
// On the bus from construction to destruction. Any process may call it there: Qt refuses calls of
// the wrong type, and an unknown item gets an error reply. Main thread. Internal to the platform.
class DBusMenu : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version MEMBER m_version CONSTANT)

public:
    // The menu outlives it.
    DBusMenu(const QDBusConnection& bus, QMenu& menu);
    ~DBusMenu() override;

    // The object path on the bus. Any would do; this is the usual one.
    [[nodiscard]] static QString path() { return QLatin1StringView("/MenuBar"); }

public Q_SLOTS:
    // The operations of the interface, with its names.
    Q_SCRIPTABLE uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                                DBusMenuLayout& layout);
    Q_SCRIPTABLE QList<DBusMenuItem> GetGroupProperties(const QList<int>& ids,
                                                        const QStringList& propertyNames);
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name);
    Q_SCRIPTABLE void Event(int id, const QString& eventId, const QDBusVariant& data,
                            uint timestamp);
    Q_SCRIPTABLE QList<int> EventGroup(const QList<DBusMenuEvent>& events);
    Q_SCRIPTABLE bool AboutToShow(int id);
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

Q_SIGNALS:
    Q_SCRIPTABLE void ItemsPropertiesUpdated(const QList<DBusMenuItem>& updated,
                                             const QList<DBusMenuItemKeys>& removed);
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parent);
    // The host opens its menu. Not on the bus.
    void openedByHost();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Null for item 0 and for what is not in the menu, or no longer.
    [[nodiscard]] QAction* actionOf(int id) const;
    [[nodiscard]] bool isKnown(int id) const;
    // The menu itself, then what is in it, each with the named properties; no names means all.
    [[nodiscard]] QList<DBusMenuItem> items(const QStringList& propertyNames) const;
    bool handleEvent(int id, const QString& eventId, uint timestamp);
    void replyNoSuchItem(int id);
    void announceChanges();

    const uint m_version = 3;
    QDBusConnection m_bus;
    QMenu& m_menu;
    uint m_revision = 0;
    bool m_isRead = false; // by a host, which then has to hear of changes
    QTimer m_announcement; // several changes in one run of the event loop are announced once
};

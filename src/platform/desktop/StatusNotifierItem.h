#pragma once

#include "platform/desktop/DBusMenu.h"
#include "platform/desktop/StatusContent.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QString>
#include <QTimer>

#include <tuple>

// The structures of org.kde.StatusNotifierItem, with their D-Bus signatures.

struct StatusNotifierPicture { // (iiay)
    int width = 0;
    int height = 0;
    QByteArray argb; // 32 bits a pixel in network byte order, the colours not multiplied by alpha

    static auto fields(auto& self) { return std::tie(self.width, self.height, self.argb); }
};

struct StatusNotifierToolTip { // (sa(iiay)ss)
    QString iconName;
    QList<StatusNotifierPicture> pictures;
    QString title;       // plain text
    QString description; // may contain markup

    static auto fields(auto& self)
    {
        return std::tie(self.iconName, self.pictures, self.title, self.description);
    }
};

// The program's icon for the hosts that draw it themselves: freedesktop.org's StatusNotifierItem,
// under the names by which all hosts know it, org.kde.*.
//
// It has its bus name from construction to destruction, also while there is no watcher: GNOME's
// looks for items when it starts, and would show one without a name beside the same one that
// registers by name. It never waits. Internal to the platform.
class StatusNotifierItem : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category MEMBER m_category CONSTANT)
    Q_PROPERTY(QString Id MEMBER m_id CONSTANT)
    Q_PROPERTY(QString Title READ title CONSTANT)
    Q_PROPERTY(QString Status MEMBER m_status CONSTANT)
    Q_PROPERTY(bool ItemIsMenu MEMBER m_itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)
    Q_PROPERTY(QString IconName MEMBER m_iconName CONSTANT)
    Q_PROPERTY(QList<StatusNotifierPicture> IconPixmap READ pictures)
    Q_PROPERTY(StatusNotifierToolTip ToolTip READ toolTip)

public:
    StatusNotifierItem(const QDBusConnection& bus, const StatusContent& content);
    ~StatusNotifierItem() override;

    // `watcher` is its unique bus name, which no other process can take over.
    void registerWith(const QString& watcher);
    void contentChanged();

public Q_SLOTS:
    // The operations of the interface, with its names.
    //
    // A click does what the host's menu is for, and nothing else. Hosts that call Activate although
    // the item is a menu are told that there is no such method: most then open their own menu,
    // and for one that does not, ours opens. ContextMenu is called by hosts without a menu.
    Q_SCRIPTABLE void Activate(int x, int y);
    Q_SCRIPTABLE void SecondaryActivate(int x, int y);
    Q_SCRIPTABLE void ContextMenu(int x, int y);
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);

Q_SIGNALS:
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewToolTip();
    // Never sent, since title and status don't change; hosts expect them in the interface.
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewStatus(const QString& status);

private:
    [[nodiscard]] QString title() const { return m_content.title; }
    [[nodiscard]] QDBusObjectPath menu() const { return QDBusObjectPath(DBusMenu::path()); }
    [[nodiscard]] QList<StatusNotifierPicture> pictures() const;
    [[nodiscard]] StatusNotifierToolTip toolTip() const;
    void popUpMenu();
    void leaveMenuToHost();

    const QString m_id = QLatin1StringView("vantoryAgent"); // the same in every run
    const QString m_category = QLatin1StringView("SystemServices");
    const QString m_status = QLatin1StringView("Active"); // hosts may hide one that is "Passive"
    const QString m_iconName;                             // none: the pictures are sent
    const bool m_itemIsMenu = true;

    QDBusConnection m_bus;
    const StatusContent& m_content;
    DBusMenu m_exportedMenu;

    QPoint m_place;              // of the last click, as the host has told it
    QTimer m_waitForHost;        // runs while the host may open its menu by itself
    bool m_opensHostMenu = true; // until it is seen not to do so
    QElapsedTimer m_sinceHostMenu;
};

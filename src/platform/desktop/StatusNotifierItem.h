#pragma once

#include "platform/desktop/DBusMenu.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QIcon>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <tuple>

class QMenu;

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
// On the bus, and registered with the watcher, from construction to destruction; one at a time in a
// program. It never waits: it registers when the bus has answered. Main thread. Internal to the
// platform.
class StatusNotifierItem : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(int WindowId READ windowId CONSTANT)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)
    Q_PROPERTY(QString IconThemePath READ none CONSTANT)
    Q_PROPERTY(QString IconName READ none CONSTANT)
    Q_PROPERTY(QList<StatusNotifierPicture> IconPixmap READ pictures)
    Q_PROPERTY(QString OverlayIconName READ none CONSTANT)
    Q_PROPERTY(QList<StatusNotifierPicture> OverlayIconPixmap READ noPictures CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ none CONSTANT)
    Q_PROPERTY(QList<StatusNotifierPicture> AttentionIconPixmap READ noPictures CONSTANT)
    Q_PROPERTY(QString AttentionMovieName READ none CONSTANT)
    Q_PROPERTY(StatusNotifierToolTip ToolTip READ toolTip)

public:
    // `watcher` is the unique bus name to register with, which no other process can take over.
    StatusNotifierItem(const QDBusConnection& bus, const QString& watcher, const QString& id,
                       const QString& title, QObject* parent = nullptr);
    ~StatusNotifierItem() override;

    void setIcon(const QIcon& icon);
    void setToolTip(const QString& text);
    void setMenu(QMenu* menu); // not owned

    [[nodiscard]] QString category() const;
    [[nodiscard]] QString id() const { return m_id; }
    [[nodiscard]] QString title() const { return m_title; }
    [[nodiscard]] QString status() const;
    [[nodiscard]] int windowId() const { return 0; }
    [[nodiscard]] bool itemIsMenu() const { return true; }
    [[nodiscard]] QDBusObjectPath menu() const;
    [[nodiscard]] QList<StatusNotifierPicture> pictures() const;
    [[nodiscard]] StatusNotifierToolTip toolTip() const;
    [[nodiscard]] QString none() const { return {}; }
    [[nodiscard]] QList<StatusNotifierPicture> noPictures() const { return {}; }

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
    void requestName();
    void registerAs(const QString& name);
    void popUpMenu();
    void leaveMenuToHost();

    QDBusConnection m_bus;
    const QString m_watcher;
    const QString m_id;
    const QString m_title;
    QIcon m_icon;
    QString m_toolTip;
    QPointer<QMenu> m_menu;
    DBusMenu m_exportedMenu;

    QPoint m_place;              // of the last click, as the host has told it
    QTimer m_waitForHost;        // runs while the host may open its menu by itself
    bool m_opensHostMenu = true; // until it is seen not to do so
    QElapsedTimer m_sinceHostMenu;
};

#pragma once

#include "platform/desktop/StatusContent.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>
#include <optional>

class StatusNotifierItem;
class TrayIcon;

// The program's icon in the desktop's status bar, with a menu.
//
// While a host for StatusNotifierItems is registered it is such an item (freedesktop.org's
// StatusNotifierItem, with the menu as com.canonical.dbusmenu), else an XEmbed tray icon
// (freedesktop.org System Tray Protocol). Hosts and trays may start after the program, end, and
// start again: there is always one icon, with the same menu. A desktop without a status bar is no
// error.
//
// A program has one, made after the application object and MainQueue::attach(). Main thread, which
// never waits for the bus or for a reply on it (unless the system has no thread left for a
// worker). Until a watcher has replied whether there is a host, nothing changes.
class StatusItem : public QObject {
    Q_OBJECT

public:
    // The menu is not owned, and outlives the item. Its actions may change at any time: text ("&&"
    // for "&"), icon, shortcut, visibility, enabling, order. Not every host shows submenus and
    // check marks.
    StatusItem(const QString& title, const QIcon& icon, QMenu& menu);
    // Takes the icon away at once.
    ~StatusItem() override;

    // The picture, for any size that a host asks for.
    void setIcon(const QIcon& icon);

    // Whether a host or a tray has taken the icon in. They may hide it all the same.
    [[nodiscard]] bool hasPlace() const;

    // Plain text, shown while the pointer rests on the icon.
    void setToolTip(const QString& text);

private Q_SLOTS:
    void askForHost();

private:
    void contentChanged();
    void watchBus(const QDBusConnection& bus);
    void setWatcher(const QString& uniqueName);
    void use(bool isHostThere);

    StatusContent m_content;
    bool m_isInHost = false;                        // else in a tray
    std::unique_ptr<StatusNotifierItem> m_hostItem; // from the bus's connection on
    std::unique_ptr<TrayIcon> m_trayIcon;           // while there is no host
    std::optional<QDBusConnection> m_bus;
    QString m_watcher; // its unique name on the bus; empty while there is none
};

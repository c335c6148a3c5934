#pragma once

#include <QIcon>
#include <QObject>
#include <QString>

#include <memory>

class QMenu;

// The program's icon in the desktop's status bar, with a menu.
//
// It is a StatusNotifierItem (freedesktop.org StatusNotifierItem specification, with the menu as
// com.canonical.dbusmenu) wherever a host for such items is registered, and an XEmbed tray icon
// (freedesktop.org System Tray Protocol) wherever not. Either may come after the program, go, and
// come back: there is one icon at every moment, and it keeps its menu. No status bar at all is no
// error.
//
// One in a program, after the application object and MainQueue::attach(). Main thread. Nothing here
// waits for the bus or for who is on it, however long they take to answer: until a watcher that is
// there has said whether there is a host, nothing changes.
class StatusItem : public QObject {
    Q_OBJECT

public:
    // `id` names the item towards the host and stays the same between runs; `title` is shown.
    StatusItem(const QString& id, const QString& title, QObject* parent = nullptr);
    ~StatusItem() override;

    // The picture, for any size that a host asks for.
    void setIcon(const QIcon& icon);

    // The text shown while the pointer rests on the icon; plain text.
    void setToolTip(const QString& text);

    // The menu; not owned. Its actions may change at any time: texts (a doubled "&" is one, as
    // in every QAction), icons, shortcuts, visibility, enabling, order. Submenus and check marks do
    // not show everywhere.
    void setMenu(QMenu* menu);

private:
    class Private;
    std::unique_ptr<Private> d;
};

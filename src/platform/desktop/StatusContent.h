#pragma once

#include <QIcon>
#include <QString>

class QMenu;

// What the program's icon in the status bar is. TrayIcon and StatusNotifierItem show it: they read
// it, are told of changes, and it outlives them. Main thread.
struct StatusContent {
    QString title;
    QIcon icon;
    QMenu& menu;          // not owned, and outlives the icon
    QString toolTip = {}; // plain text
};

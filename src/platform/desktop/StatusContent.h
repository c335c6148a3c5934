#pragma once

#include <QIcon>
#include <QMenu>
#include <QPointer>
#include <QString>

// What the program's icon in the status bar is. TrayIcon and StatusNotifierItem show it: they read
// it, are told of changes, and it outlives them. Main thread.
struct StatusContent {
    QString id;
    QString title;
    QIcon icon;
    QString toolTip;      // plain text
    QPointer<QMenu> menu; // not owned
};

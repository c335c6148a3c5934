#pragma once

#include <QIcon>
#include <QMenu>
#include <QPointer>
#include <QString>

// What the program's icon in the status bar is.
struct StatusContent {
    QString id;
    QString title;
    QIcon icon;
    QString toolTip;      // plain text
    QPointer<QMenu> menu; // not owned
};

// Shows the icon in a status bar of one kind, from construction to destruction; one at a time.
// Reads the content, which outlives it, and is told of changes. Main thread. Internal to the
// platform.
class StatusPlace {
public:
    StatusPlace() = default;
    virtual ~StatusPlace() = default;

    StatusPlace(const StatusPlace&) = delete;
    StatusPlace& operator=(const StatusPlace&) = delete;

    virtual void contentChanged() = 0;

    // Whether the status bar has taken the icon in.
    [[nodiscard]] virtual bool isShown() const = 0;
};

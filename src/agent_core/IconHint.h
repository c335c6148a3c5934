#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

class ActivityLog;
class StatusItem;

// Tells the user once, also over several runs, that no panel shows the icon. Main thread.
class IconHint : public QObject {
    Q_OBJECT

public:
    IconHint(const StatusItem& icon, const ActivityLog& log, QObject* parent);

    // Calls look() after a while.
    void start();
    void look();
    void stop() { m_timer.stop(); }
    // The desktop has told the user: not again in a later run.
    static void remember();

Q_SIGNALS:
    void iconMissing();

private:
    const QPointer<const StatusItem> m_icon; // null once the agent ends
    const ActivityLog& m_log;
    QTimer m_timer;
};

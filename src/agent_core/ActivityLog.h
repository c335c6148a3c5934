#pragma once

#include "localisation/Translate.h"
#include "records/Activity.h"

#include <QObject>

#include <memory>

class ActivityWindow;

// Keeps the list of what happens to this computer, shows it, and, once the screen is unlocked,
// tells what happened while it was locked. Main thread.
class ActivityLog : public QObject {
    Q_OBJECT

public:
    ActivityLog(LabelSource labels, QObject* parent);
    ~ActivityLog() override;

    [[nodiscard]] bool isScreenLocked() const { return m_isScreenLocked; }

    void note(Activity::Kind kind, const QString& text, quint64 command = 0);
    void finishCommand(quint64 command, qint64 status);
    void setScreenLocked(bool isLocked);
    // The menu's action, and the status window's button.
    void show();

Q_SIGNALS:
    // The user comes back, and this happened meanwhile.
    void absenceEnded(const QList<Activity>& activities);
    // Whether there is something that the user has not seen, after each change of that.
    void unseenChanged(bool hasUnseen);

private:
    void tellAbsence();
    void markSeen();

    ActivityList m_activities;
    bool m_isScreenLocked = false;
    bool m_hasUntoldAbsence = false; // something happened that no unlocking has told yet
    std::unique_ptr<ActivityWindow> m_window;
};

#pragma once

#include "platform/files/MemoryFile.h"
#include "records/ActivityList.h"
#include "records/SessionInfo.h"
#include "windows/ActivityWindow.h"

#include <QObject>

#include <functional>
#include <memory>

// Keeps the list of what happens to this computer, shows it, tells the system's journal of
// sessions, requests and commands, and, once the screen is unlocked, tells what happened while it
// was locked.
//
// The list outlives this run of the agent where the keeper has given a file to keep it in. What
// began before this run is listed, at most once, and not told. Main thread.
class ActivityLog : public QObject {
    Q_OBJECT

public:
    // Listens to what happens to the agent from now on.
    ActivityLog(MemoryFile kept, QObject* parent);

    [[nodiscard]] bool isScreenLocked() const { return m_isScreenLocked; }
    [[nodiscard]] const ActivityList& activities() const { return m_activities; }

    // The menu's action, and the status window's button.
    void show();
    // Emits unseenChanged() as things stand, for those who have just connected.
    void tellUnseen();

Q_SIGNALS:
    // The screen is unlocked; nothing was told yet.
    void userReturned();
    // The user comes back, and this happened meanwhile.
    void absenceEnded(const QList<Activity>& activities);
    // The user has the list before them, or has just closed it.
    void shown();
    // Whether there is something that the user has not seen, after each change of that.
    void unseenChanged(bool hasUnseen);

private:
    void readKept();
    void keep(const QByteArray& record);
    void edit(const std::function<bool(Activity&)>& change);
    // `isOlder`: it happened before this run, so nobody is told.
    void note(Activity activity, bool isOlder = false);
    // One that began before this run.
    void noteRunning(const SessionInfo& session);
    // The service has reported all sessions for the first time.
    void noteReport();
    void noteRequest(qint64 session, const QString& controlName, Activity::Kind kind,
                     Activity::By by);
    void noteMessage(const QObject* window, const QString& from, const QString& text);
    void noteCommand(qint64 session, const QString& text);
    void finishCommand(qint64 status);
    void setScreenLocked(bool isLocked);
    void tellAbsence();
    void markSeen();

    MemoryFile m_kept;
    ActivityList m_activities;
    quint64 m_command = 0; // the entry of the one that runs
    bool m_isScreenLocked = false;
    std::unique_ptr<ActivityWindow> m_window; // from the first showing on
};

#pragma once

#include "localisation/Translate.h"
#include "platform/desktop/Notifications.h"
#include "records/Activity.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

// Word to the person through the desktop's notifications: that a session has begun or ended, that
// somebody asks for control, what happened while the screen was locked. Where the desktop has no
// notifications nothing else changes. Main thread.
class DesktopNotices : public QObject {
    Q_OBJECT

public:
    DesktopNotices(LabelSource labels, const QString& applicationName, QObject* parent);

    // Something happened to a session. What comes at once is shown together. Where the account
    // wants no window of the agent when a session begins, only that one has not ended is told.
    void tellSession(const Activity& activity);

    // A question stands on the screen. Its notice stays, and stands above full-screen programs
    // where the desktop shows critical ones there.
    void askQuestion(const QString& question, bool replacesAnother);
    void withdrawQuestion();
    // The service has taken it back, which is told.
    void tellWithdrawal();

    // What happened while the person was away. Stays, whatever the account wants.
    void tellAbsence(const QList<Activity>& activities);
    void absenceSeen();

    // No panel shows the icon: how to see it, and what does without it.
    void tellMissingIcon();

    // The program is ending: nothing more is told.
    void stop();

Q_SIGNALS:
    // The person has clicked a notice.
    void activated(Notifications::Place place);
    // The desktop has taken the word about the icon.
    void missingIconTold();

private:
    void showSessions();

    const LabelSource m_labels;
    Notifications m_notifications;
    QList<Activity> m_news; // of sessions, the newest first
    QElapsedTimer m_sinceNews;
    QTimer m_sessionTimer;
};

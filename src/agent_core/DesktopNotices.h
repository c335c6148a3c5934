#pragma once

#include "localisation/Translate.h"
#include "platform/desktop/Notifications.h"
#include "records/Activity.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

// Tells the user by desktop notifications that a session has begun or ended, that somebody asks for
// control, and what happened while the screen was locked. A desktop without notifications shows
// none of this, and nothing else changes. Main thread.
class DesktopNotices : public QObject {
    Q_OBJECT

public:
    DesktopNotices(LabelSource labels, const QString& applicationName, QObject* parent);

    // Something happened to a session. What happens at the same time is shown together. If the
    // account wants no window when a session begins, only a session that failed to end is shown.
    void tellSession(const Activity& activity);

    // A question stands on the screen. Its notice stays, and stands above full-screen programs
    // where the desktop shows critical ones there.
    void askQuestion(const QString& question, bool replacesAnother);
    void withdrawQuestion();
    // The service has withdrawn the question, and the user is told so.
    void tellWithdrawal();

    // What happened while the user was away. Stays, whatever the account wants.
    void tellAbsence(const QList<Activity>& activities);
    void absenceSeen();

    // No panel shows the icon: tells how to see it, and what works without it.
    void tellMissingIcon();

    // The program is ending: no more notices.
    void stop();

Q_SIGNALS:
    // The user has clicked a notice.
    void activated(Notifications::Place place);
    // The desktop has accepted the notice about the icon.
    void missingIconTold();

private:
    void showSessions();

    const LabelSource m_labels;
    Notifications m_notifications;
    QList<Activity> m_news; // of sessions, the newest first
    QElapsedTimer m_sinceNews;
    QTimer m_sessionTimer;
};

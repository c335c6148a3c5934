#pragma once

#include "localisation/Translate.h"
#include "platform/desktop/Notifications.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QTimer>

// Word to the person through the desktop's notifications: that a session has begun or ended, that
// somebody asks for control, what happened while the screen was locked. Where the desktop has no
// notifications nothing else changes. Main thread.
class DesktopNotices : public QObject {
    Q_OBJECT

public:
    DesktopNotices(LabelSource labels, const QString& applicationName);

    // A line about a session. Those that come at once are shown together. None where the account
    // wants no window of the agent when a session begins.
    void tellSession(const QString& line);
    // Whatever the account wants.
    void tellSessionAlways(const QString& line);

    // A question stands on the screen. Its notice stays, and stands above full-screen programs
    // where the desktop shows critical ones there.
    void askQuestion(const QString& question, bool replacesAnother);
    void questionAnswered();
    void questionWithdrawn();

    // What happened while the person was away, a line each. Stays.
    void tellAbsence(const QStringList& lines);
    void absenceSeen();

Q_SIGNALS:
    // The person has clicked a notice.
    void activated(Notifications::Place place);

private:
    void showSessions();

    const LabelSource m_labels;
    Notifications m_notifications;
    QStringList m_lines;     // about sessions, the newest first
    bool m_isWanted = false; // some of them whatever the account wants
    QElapsedTimer m_sinceLine;
    QTimer m_sessionTimer;
};

#pragma once

#include "platform/desktop/Notifications.h"
#include "records/Activity.h"
#include "records/SessionInfo.h"

#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QTimer>

#include <optional>

class ActivityLog;

// Tells the user by desktop notifications what no window of the agent tells them at that moment: a
// session's begin and end, a question, what happened while the screen was locked; and once, also
// over several runs, that no panel shows the icon. Screen readers say what happens in any case. A
// desktop without notifications shows none of this, and nothing else changes. While the status
// window is in sight, which notifications may cover, they go by themselves. Main thread.
class DesktopNotifier : public QObject {
public:
    // Listens to the sessions, the question and the log; its destructor uses none of them.
    DesktopNotifier(ActivityLog& log, QObject* parent);

private:
    using Place = Notifications::Place;
    struct News {
        QString line;
        bool isFailure;
        bool hasRow; // in the status window, where that is shown
        bool isTold = false;
    };

    void listen();
    // What happens to sessions at the same time is shown together. Left out is what the user has
    // done, what the status window shows and, where the account wants no window when a session
    // begins, everything else; but not that a session has failed to end.
    void tellSession(Activity::Kind kind, const SessionInfo& session);
    void showSessions();
    // The dialog asks. A notification tells of it only while the dialog is not in sight, or when it
    // has not been answered for a while.
    void askQuestion();
    void lookAtQuestion();
    void withdrawQuestion();
    // The service has withdrawn the question, and the user is told so. There is nothing to open.
    void tellWithdrawal();
    // What happened while the user was away, whatever the account wants.
    void tellAbsence(const QList<Activity>& activities);
    // Where no panel shows the icon: tells how to see it, and what works without it.
    void lookForIcon();
    // The user has clicked a notification.
    void open(Place place);
    // The program is ending: its notifications go, and none comes any more.
    void stop();

    ActivityLog& m_log;
    Notifications m_notifications;
    QList<News> m_news; // of sessions, the newest first
    QElapsedTimer m_sinceNews;
    QTimer m_sessionTimer;
    QElapsedTimer m_sinceQuestion;
    QTimer m_questionTimer;              // while the question is open
    std::optional<bool> m_questionStays; // its notification; none: there is none
    QTimer m_iconTimer;
};

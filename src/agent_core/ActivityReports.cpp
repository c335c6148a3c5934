#include "agent_core/DesktopNotices.h"
#include "agent_state/AppDelegate.h"
#include "platform/desktop/Announcements.h"
#include "records/Activity.h"
#include "windows/ActivityWindow.h"
#include "windows/ConnectionStatus.h"

#include <QAction>
#include <QMenu>

using Kind = Activity::Kind;

void AppDelegate::noteActivity(Kind kind, const QString& text, quint64 command)
{
    if (isTerminating()) {
        return;
    }
    AgentState& agent = state();
    Activity noted;
    noted.kind = kind;
    noted.time = QDateTime::currentDateTime();
    noted.text = text;
    noted.command = command;
    noted.isUnseen =
        kind == Kind::RequestAccepted || (agent.isScreenLocked && kind != Kind::Command);
    agent.activities.add(noted);
    agent.activityWindow->update();
    if (kind == Kind::Command) {
        return;
    }
    if (noted.isUnseen) {
        agent.hasUntoldAbsence = true;
        showUnseenActivity();
    }
    // An acceptance may be noted after the unlocking.
    if (kind == Kind::RequestAccepted && !agent.isScreenLocked) {
        tellAbsence();
        return;
    }
    if (agent.notices != nullptr && !isAtLoginWindow()) {
        agent.notices->tellSession(noted);
    }
}

void AppDelegate::noteSessionBegan(const SessionInfo& session)
{
    const bool hasNotEnded = state().endedByPerson.contains(session.session);
    if (hasNotEnded) {
        state().connectionStatus->notEnded.insert(session.session);
    }
    noteActivity(hasNotEnded ? Kind::SessionNotEnded : Kind::SessionBegan,
                 session.remoteControlUser);
}

void AppDelegate::noteSessionEnded(const SessionInfo& session)
{
    noteActivity(Kind::SessionEnded, session.remoteControlUser);
}

void AppDelegate::noteAccepted(const QString& controlName)
{
    noteActivity(Kind::RequestAccepted, controlName);
}

void AppDelegate::forgetEnded(qint64 session)
{
    state().endedByPerson.remove(session);
    state().connectionStatus->notEnded.remove(session);
}

void AppDelegate::commandBegan(quint64 command, const QString& text)
{
    noteActivity(Kind::Command, text.trimmed(), command);
}

void AppDelegate::commandEnded(quint64 command, qint64 status)
{
    state().activities.finish(command, status);
    state().activityWindow->update();
}

void AppDelegate::screenLockChanged(bool isLocked)
{
    state().isScreenLocked = isLocked;
    Announcements::hold(isLocked);
    if (!isLocked && state().hasUntoldAbsence) {
        tellAbsence();
    }
}

void AppDelegate::tellAbsence()
{
    if (state().notices != nullptr && !isTerminating()) {
        state().hasUntoldAbsence = false;
        state().notices->tellAbsence(state().activities.unseen());
    }
}

void AppDelegate::showActivity()
{
    if (!isTerminating()) {
        state().activityWindow->present();
    }
}

void AppDelegate::activitySeen()
{
    state().activities.markSeen();
    state().hasUntoldAbsence = false;
    showUnseenActivity();
    if (state().notices != nullptr) {
        state().notices->absenceSeen();
    }
}

// The menu's last line, and the picture of the status window's button.
void AppDelegate::showUnseenActivity()
{
    const bool hasUnseen = state().activities.hasUnseen();
    if (state().awayItem != nullptr) {
        state().awayItem->setVisible(hasUnseen);
    }
    state().connectionStatus->hasUnseenActivity = hasUnseen;
    redrawIfVisible();
}

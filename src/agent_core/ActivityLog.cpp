#include "agent_core/ActivityLog.h"

#include "windows/ActivityWindow.h"

#include <utility>

using Kind = Activity::Kind;

ActivityLog::ActivityLog(LabelSource labels, QObject* parent)
    : QObject(parent),
      m_window(new ActivityWindow(std::move(labels),
                                  [this]() -> const ActivityList& { return m_activities; }))
{
    connect(m_window.get(), &ActivityWindow::seen, this, &ActivityLog::markSeen);
}

ActivityLog::~ActivityLog() = default;

void ActivityLog::note(Kind kind, const QString& text, quint64 command)
{
    Activity activity;
    activity.kind = kind;
    activity.time = QDateTime::currentDateTime();
    activity.text = text;
    activity.command = command;
    activity.isUnseen =
        kind == Kind::RequestAccepted || (m_isScreenLocked && kind != Kind::Command);
    m_activities.add(activity);
    m_window->update();
    if (activity.isUnseen) {
        m_hasUntoldAbsence = true;
        Q_EMIT unseenChanged(true);
    }
    // An acceptance may be noted after the unlocking, and where nobody tells of that.
    if (kind == Kind::RequestAccepted && !m_isScreenLocked) {
        tellAbsence();
    }
}

void ActivityLog::finishCommand(quint64 command, qint64 status)
{
    m_activities.finish(command, status);
    m_window->update();
}

void ActivityLog::setScreenLocked(bool isLocked)
{
    m_isScreenLocked = isLocked;
    if (!isLocked && m_hasUntoldAbsence) {
        tellAbsence();
    }
}

void ActivityLog::show()
{
    m_window->present();
}

void ActivityLog::tellAbsence()
{
    m_hasUntoldAbsence = false;
    Q_EMIT absenceEnded(m_activities.unseen());
}

void ActivityLog::markSeen()
{
    m_activities.markSeen();
    m_hasUntoldAbsence = false;
    Q_EMIT unseenChanged(false);
}

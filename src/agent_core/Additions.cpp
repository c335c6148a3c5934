#include "agent_core/ActivityLog.h"
#include "agent_core/AgentRequests.h"
#include "agent_core/DesktopNotifier.h"
#include "agent_core/IconHint.h"
#include "agent_state/AppDelegate.h"
#include "localisation/ShownText.h"
#include "platform/desktop/Announcements.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/WindowActivation.h"
#include "windows/ConnectionStatus.h"
#include "windows/UserAcknowlegement.h"

#include <QAction>
#include <QMenu>

using namespace Qt::StringLiterals;
using Kind = Activity::Kind;

namespace {

// Connects the list of what happened to all that it lists.
void follow(ActivityLog* log, const SessionList& sessions, const AgentEvents& events)
{
    const auto note = [log](Kind kind) {
        return [=](const SessionInfo& session) { log->noteSession(kind, session); };
    };
    QObject::connect(&sessions, &SessionList::began, log, note(Kind::SessionBegan));
    QObject::connect(&sessions, &SessionList::ranBefore, log, &ActivityLog::noteRunning);
    QObject::connect(&sessions, &SessionList::hasNotEnded, log, note(Kind::SessionNotEnded));
    QObject::connect(&sessions, &SessionList::ended, log, note(Kind::SessionEnded));
    QObject::connect(&sessions, &SessionList::reported, log,
                     [log, &sessions] { log->noteReport(sessions.all()); });
    QObject::connect(&events, &AgentEvents::requestNoted, log, &ActivityLog::noteRequest);
    QObject::connect(&events, &AgentEvents::messageShown, log, &ActivityLog::noteMessage);
    QObject::connect(&events, &AgentEvents::commandBegan, log, &ActivityLog::noteCommand);
    QObject::connect(&events, &AgentEvents::commandEnded, log, &ActivityLog::finishCommand);
    QObject::connect(&events, &AgentEvents::screenLockChanged, log, &ActivityLog::setScreenLocked);
}

// The menu's line that ends all sessions, while not each has a row in the status window.
void addEndOfAll(QMenu& menu, const ConnectionStatus* status, const SessionList& sessions)
{
    const QString title = AppDelegate::labels().value_or(englishFallback()).Connection.endAll;
    QAction* const item =
        menu.addAction(BundleImages::icon(u"abort"_s), ShownText::menuItem(title, title.size()));
    item->setVisible(false);
    QObject::connect(item, &QAction::triggered, status, AppDelegate::whileRunning([] {
                         const QList<SessionInfo> all = AppDelegate::state().sessions.all();
                         for (const SessionInfo& session : all) {
                             AppDelegate::endSession(session.session);
                         }
                     }));
    const auto update = [item, status, &sessions] {
        item->setVisible(status->isManaged && sessions.all().size() > ConnectionStatus::kRows);
    };
    // Queued: a list that replaces another is empty for a moment, and the menu need not follow
    // that.
    QObject::connect(&sessions, &SessionList::added, item, update, Qt::QueuedConnection);
    QObject::connect(&sessions, &SessionList::removed, item, update, Qt::QueuedConnection);
}

// What leads to the list: the menu's last line, and the status window's button.
void showWayTo(ActivityLog* log, QMenu& menu, ConnectionStatus* status)
{
    const QString title = AppDelegate::labels().value_or(englishFallback()).Activity.away;
    QAction* const item =
        menu.addAction(BundleImages::icon(u"activity"_s), ShownText::menuItem(title, title.size()));
    item->setVisible(false);
    const auto show = AppDelegate::whileRunning([log] { log->show(); });
    QObject::connect(item, &QAction::triggered, log, show);
    QObject::connect(status, &ConnectionStatus::activityRequested, log, show);
    QObject::connect(log, &ActivityLog::unseenChanged, item, &QAction::setVisible);
    QObject::connect(log, &ActivityLog::unseenChanged, status, [status](bool hasUnseen) {
        status->hasUnseenActivity = hasUnseen;
        AppDelegate::redrawIfVisible();
    });
}

void open(Notifications::Place place, ActivityLog& log)
{
    WindowActivation::noteAction(0); // the click does not say when it was
    if (place == Notifications::Place::Question) {
        AppDelegate::state().userAcknowledge->present();
    } else if (place == Notifications::Place::Absence) {
        log.show();
    } else {
        AppDelegate::connectionDisplay();
    }
}

// Connects the notifier to all that it tells of.
void follow(DesktopNotifier* notifier, ActivityLog* log, const SessionList& sessions,
            const UserAcknowledgement* question)
{
    const auto tell = [=, &sessions](Kind kind) {
        return [=, &sessions](const SessionInfo& session) {
            // What happens behind a locked screen is told at the unlocking.
            if (!AppDelegate::isAtLoginWindow() && !log->isScreenLocked()) {
                notifier->tellSession(kind, session,
                                      kind == Kind::SessionEnded &&
                                          sessions.isEndExpected(session.session));
            }
        };
    };
    QObject::connect(&sessions, &SessionList::began, notifier, tell(Kind::SessionBegan));
    QObject::connect(&sessions, &SessionList::hasNotEnded, notifier, tell(Kind::SessionNotEnded));
    QObject::connect(&sessions, &SessionList::ended, notifier, tell(Kind::SessionEnded));
    QObject::connect(log, &ActivityLog::absenceEnded, notifier, &DesktopNotifier::tellAbsence);
    QObject::connect(log, &ActivityLog::shown, notifier, &DesktopNotifier::withdrawAbsence);
    QObject::connect(question, &UserAcknowledgement::asked, notifier,
                     &DesktopNotifier::askQuestion);
    QObject::connect(question, &UserAcknowledgement::answered, notifier,
                     &DesktopNotifier::withdrawQuestion);
    QObject::connect(question, &UserAcknowledgement::withdrawn, notifier,
                     &DesktopNotifier::tellWithdrawal);
    QObject::connect(notifier, &DesktopNotifier::activated, log, [log](Notifications::Place place) {
        AppDelegate::whileRunning([place, log] { open(place, *log); })();
    });
}

} // namespace

void AppDelegate::makeAdditions()
{
    AgentState& agent = state();
    // Connected before the log, which tells what waited for the unlocking.
    connect(&agent.events, &AgentEvents::screenLockChanged, this, &Announcements::hold);
    auto* const log = new ActivityLog(&AppDelegate::labels, std::move(m_kept), this);
    follow(log, agent.sessions, agent.events);
    addEndOfAll(*agent.statusBarMenu, agent.connectionStatus.get(), agent.sessions);
    showWayTo(log, *agent.statusBarMenu, agent.connectionStatus.get());
    auto* const notifier =
        new DesktopNotifier(&AppDelegate::labels, options.oemName, *agent.connectionStatus,
                            *agent.userAcknowledge, this);
    follow(notifier, log, agent.sessions, agent.userAcknowledge.get());
    connect(&agent.events, &AgentEvents::ending, notifier, &DesktopNotifier::stop);

    auto* const hint = new IconHint(*agent.statusBarItem, *log, this);
    connect(hint, &IconHint::iconMissing, notifier,
            whileRunning([notifier] { notifier->tellMissingIcon(); }));
    connect(notifier, &DesktopNotifier::missingIconTold, hint, &IconHint::remember);
    connect(&agent.events, &AgentEvents::ending, hint, &IconHint::stop);
    connect(&agent.events, &AgentEvents::loginWindowLeft, hint, &IconHint::start);
    log->tellUnseen();
    AgentRequests::serve(*log);
    if (!isAtLoginWindow()) {
        hint->start();
    }
}

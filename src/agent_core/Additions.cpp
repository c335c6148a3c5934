#include "agent_core/ActivityLog.h"
#include "agent_core/DesktopNotifier.h"
#include "agent_state/AppDelegate.h"
#include "platform/desktop/Announcements.h"
#include "platform/desktop/BundleImages.h"
#include "window_kit/Mnemonics.h"
#include "windows/ConnectionStatus.h"

#include <QAction>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace {

// A line at the menu's end, which is shown only while there is something to do.
QAction* addHiddenItem(const QString& symbol, const QString& title)
{
    QAction* const item = AppDelegate::state().statusBarMenu->addAction(BundleImages::icon(symbol),
                                                                        Mnemonics::plain(title));
    item->setVisible(false);
    return item;
}

// The menu's line that ends all sessions, while not each has a row in the status window.
void addEndOfAll(const QString& title)
{
    const ConnectionStatus* const status = AppDelegate::state().connectionStatus.get();
    const SessionList* const sessions = &AppDelegate::state().sessions;
    QAction* const item = addHiddenItem(u"abort"_s, title);
    QObject::connect(item, &QAction::triggered, item, AppDelegate::whileRunning([sessions] {
                         const QList<SessionInfo> all = sessions->all();
                         for (const SessionInfo& session : all) {
                             AppDelegate::endSession(session.session);
                         }
                     }));
    const auto update = [=] {
        item->setVisible(status->isManaged && sessions->all().size() > ConnectionStatus::kRows);
    };
    // Queued: a list that replaces another is empty for a moment, and the menu need not follow
    // that.
    QObject::connect(sessions, &SessionList::added, item, update, Qt::QueuedConnection);
    QObject::connect(sessions, &SessionList::removed, item, update, Qt::QueuedConnection);
}

// What leads to the list: the menu's last line, and the status window's button.
void showWayTo(ActivityLog* log, const QString& title)
{
    ConnectionStatus* const status = AppDelegate::state().connectionStatus.get();
    QAction* const item = addHiddenItem(u"activity"_s, title);
    const auto show = AppDelegate::whileRunning([log] { log->show(); });
    QObject::connect(item, &QAction::triggered, log, show);
    QObject::connect(status, &ConnectionStatus::activityRequested, log, show);
    QObject::connect(log, &ActivityLog::unseenChanged, item, &QAction::setVisible);
    QObject::connect(log, &ActivityLog::unseenChanged, status, [status](bool hasUnseen) {
        status->hasUnseenActivity = hasUnseen;
        AppDelegate::redrawIfVisible();
    });
    log->tellUnseen();
}

} // namespace

void AppDelegate::makeAdditions()
{
    // Connected before the log, which tells what waited for the unlocking.
    connect(&state().events, &AgentEvents::screenLockChanged, this, &Announcements::hold);
    auto* const log = new ActivityLog(std::move(m_kept), this);
    const JsonData::Info texts = labels().value_or(englishFallback());
    addEndOfAll(texts.Connection.endAll);
    showWayTo(log, texts.Activity.away);
    new DesktopNotifier(*log, this);
    serveRequests(*log);
}

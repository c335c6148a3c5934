#include "agent_core/DesktopNotifier.h"

#include "agent_core/ActivityLog.h"
#include "agent_state/AppDelegate.h"
#include "localisation/ShownText.h"
#include "platform/desktop/Announcements.h"
#include "platform/desktop/StatusItem.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/FilePaths.h"
#include "platform/files/MainBundle.h"
#include "platform/threads/Worker.h"
#include "records/Intervals.h"
#include "settings/AllowedSettings.h"
#include "windows/ConnectionStatus.h"
#include "windows/UserAcknowlegement.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using Kind = Activity::Kind;

namespace {

// Notification services show few lines.
constexpr qsizetype kMostLines = 5;
constexpr qsizetype kLongestLine = 120;
constexpr qsizetype kLongestQuestion = 400;
// From an event to a look at the windows, which the window manager puts in their place meanwhile.
constexpr std::chrono::milliseconds kUntilInPlace(500);
// After this time a line counts as read.
constexpr qint64 kReadAfter = 10'000; // milliseconds

// So many lines about sessions are kept, to be shown or counted.
constexpr qsizetype kMostNews = 100;

JsonData::Info labels()
{
    return AppDelegate::labels().value_or(englishFallback());
}

const ConnectionStatus& statusWindow()
{
    return *AppDelegate::state().connectionStatus;
}

QString text(const QStringList& lines)
{
    QStringList shown = lines.first(std::min(lines.size(), kMostLines));
    if (lines.size() > kMostLines) {
        shown.append(u"… + "_s + QString::number(lines.size() - kMostLines));
    }
    return shown.join(u'\n');
}

// The question, and that it has taken another one's place.
QString questionText()
{
    const UserAcknowledgement& question = *AppDelegate::state().userAcknowledge;
    const QString line = ShownText::line(question.question(), kLongestQuestion);
    return question.replacesAnother ? line + u'\n' + labels().UserAck.replaced : line;
}

// The file that says that the user was told that no panel shows the icon.
QString iconNote()
{
    return FilePaths::userState(u"told-about-the-icon"_s);
}

// Takes as long as the home directory does. Where it can't be written the user is told again, in a
// later run.
void rememberIcon()
{
    constexpr unsigned int kMode = 0600;
    QDir().mkpath(QFileInfo(iconNote()).path());
    [[maybe_unused]] const auto error = AtomicFile::write(iconNote(), {}, kMode);
}

} // namespace

DesktopNotifier::DesktopNotifier(ActivityLog& log, QObject* parent)
    : QObject(parent), m_log(log),
      m_notifications(AppDelegate::options.oemName,
                      MainBundle::resourcePath(u"vantoryAgent"_s, u"png"_s).value_or(QString()))
{
    m_sessionTimer.setSingleShot(true);
    m_sessionTimer.setInterval(kUntilInPlace);
    m_sessionTimer.callOnTimeout(this, &DesktopNotifier::showSessions);
    m_questionTimer.setInterval(kUntilInPlace);
    m_questionTimer.callOnTimeout(this, &DesktopNotifier::lookAtQuestion);
    m_iconTimer.setSingleShot(true);
    m_iconTimer.setInterval(Intervals::current().untilIconHint);
    m_iconTimer.callOnTimeout(this, &DesktopNotifier::lookForIcon);
    connect(&m_notifications, &Notifications::activated, this, &DesktopNotifier::open);
    connect(&m_notifications, &Notifications::taken, this, [](Place place) {
        if (place == Place::Icon) {
            Worker::run(&rememberIcon);
        }
    });
    listen();
    if (!AppDelegate::isAtLoginWindow()) {
        m_iconTimer.start();
    }
}

void DesktopNotifier::listen()
{
    const AgentState& agent = AppDelegate::state();
    const auto tell = [this](Kind kind) {
        return [this, kind](const SessionInfo& session) { tellSession(kind, session); };
    };
    connect(&agent.sessions, &SessionList::began, this, tell(Kind::SessionBegan));
    connect(&agent.sessions, &SessionList::hasNotEnded, this, tell(Kind::SessionNotEnded));
    connect(&agent.sessions, &SessionList::ended, this, tell(Kind::SessionEnded));
    connect(&statusWindow(), &ConnectionStatus::cameUp, this, [this] {
        m_notifications.letPass(Place::Absence);
        if (std::ranges::all_of(m_news, &News::hasRow)) {
            m_notifications.withdraw(Place::Sessions); // the window says it now
        }
        if (m_sessionTimer.isActive()) {
            m_sessionTimer.start(); // it is not in its place yet
        }
    });
    const auto* const question = agent.userAcknowledge.get();
    connect(question, &UserAcknowledgement::asked, this, &DesktopNotifier::askQuestion);
    connect(question, &UserAcknowledgement::answered, this, &DesktopNotifier::withdrawQuestion);
    connect(question, &UserAcknowledgement::withdrawn, this, &DesktopNotifier::tellWithdrawal);
    connect(&m_log, &ActivityLog::absenceEnded, this, &DesktopNotifier::tellAbsence);
    connect(&m_log, &ActivityLog::shown, this,
            [this] { m_notifications.withdraw(Place::Absence); });
    connect(&agent.events, &AgentEvents::loginWindowLeft, this, [this] { m_iconTimer.start(); });
    connect(&agent.events, &AgentEvents::ending, this, &DesktopNotifier::stop);
}

void DesktopNotifier::tellSession(Kind kind, const SessionInfo& session)
{
    // What happens behind a locked screen is told at the unlocking.
    if (AppDelegate::isAtLoginWindow() || m_log.isScreenLocked()) {
        return;
    }
    const QString line = ShownText::line(
        Activity{.kind = kind}.event(labels()) + u": "_s + session.remoteControlUser, kLongestLine);
    // Said whatever the account says about showing: sighted users have the icon.
    Announcements::say(line);
    if (kind == Kind::SessionEnded &&
        AppDelegate::state().sessions.isEndExpected(session.session)) {
        return;
    }
    if (!m_sinceNews.isValid() || m_sinceNews.elapsed() > kReadAfter) {
        m_news.clear();
    }
    m_sinceNews.start();
    const QList<SessionInfo>& listed = statusWindow().sessions();
    const auto place = std::ranges::find(listed, session.session, &SessionInfo::session);
    // A session that has ended is no longer listed: it counts as having stood last.
    const bool hasRow = place - listed.begin() < ConnectionStatus::kRows;
    m_news.prepend({line, kind == Kind::SessionNotEnded, hasRow});
    m_news.resize(std::min(m_news.size(), kMostNews));
    m_sessionTimer.start();
}

void DesktopNotifier::showSessions()
{
    const bool isInSight = WindowActivation::isInSight(statusWindow());
    if (!isInSight && AppDelegate::state().connectionShowTimer.isActive()) {
        m_sessionTimer.start(); // the window is about to come up
        return;
    }
    const bool isForbidden = forbidsShowingAgent();
    m_news.removeIf([=](const News& news) {
        return !news.isFailure && (isForbidden || (isInSight && news.hasRow));
    });
    QStringList lines;
    bool hasNew = false;
    for (News& news : m_news) {
        lines.append(news.line);
        hasNew = !std::exchange(news.isTold, true) || hasNew;
    }
    if (hasNew) {
        const QString newest = lines.takeFirst();
        m_notifications.show(Place::Sessions,
                             {newest, text(lines), labels().Connection.conn_status_title});
    }
}

void DesktopNotifier::askQuestion()
{
    withdrawQuestion(); // another one's
    m_sinceQuestion.start();
    m_questionTimer.start();
    Announcements::say(labels().UserAck.user_ack_title + u'\n' + questionText(),
                       Announcements::About::Question);
}

void DesktopNotifier::lookAtQuestion()
{
    std::optional<bool> stays;
    if (!WindowActivation::isInSight(*AppDelegate::state().userAcknowledge)) {
        stays = !WindowActivation::isInSight(statusWindow());
    } else if (m_sinceQuestion.hasExpired(Intervals::current().untilQuestionNotification.count())) {
        stays = false;
    }
    if (std::exchange(m_questionStays, stays) == stays) {
        return;
    }
    if (stays) {
        const QString title = labels().UserAck.user_ack_title;
        m_notifications.show(Place::Question, {title, questionText(), title, *stays});
    } else {
        m_notifications.withdraw(Place::Question);
    }
}

void DesktopNotifier::withdrawQuestion()
{
    m_questionTimer.stop();
    m_questionStays.reset();
    m_notifications.withdraw(Place::Question);
    Announcements::withdraw(Announcements::About::Question);
}

void DesktopNotifier::tellWithdrawal()
{
    m_questionTimer.stop();
    const QString text = labels().UserAck.withdrawn;
    m_notifications.show(Place::Question, {text, {}, {}});
    Announcements::say(text, Announcements::About::Question);
}

void DesktopNotifier::tellAbsence(const QList<Activity>& activities)
{
    const JsonData::Info texts = labels();
    QStringList lines;
    QStringList commands;
    for (const Activity& activity : activities) {
        if (activity.kind == Kind::Command) {
            commands.append(activity.text);
        } else {
            lines.append(ShownText::line(activity.time.toLocalTime().toString(u"HH:mm "_s) +
                                             activity.event(texts) + u": "_s + activity.details(),
                                         kLongestLine));
        }
    }
    if (!commands.isEmpty()) { // how many, and the first few, whatever else there is
        const QString count = QString::number(commands.size());
        lines.insert(std::min(lines.size(), kMostLines - 1),
                     ShownText::line(
                         texts.Activity.command + u" ("_s + count + u"): "_s +
                             commands.first(std::min<qsizetype>(commands.size(), 5)).join(u"; "_s),
                         kLongestLine));
    }
    m_notifications.show(Place::Absence, {texts.Activity.away, text(lines), texts.Activity.title,
                                          !statusWindow().isSeen()});
    lines.prepend(texts.Activity.away);
    Announcements::say(text(lines));
}

void DesktopNotifier::lookForIcon()
{
    if (m_log.isScreenLocked()) { // nobody would see it
        m_iconTimer.start();
        return;
    }
    const auto tell = [this](bool isTold) {
        if (!isTold && !AppDelegate::isTerminating() &&
            !AppDelegate::state().statusBarItem->hasPlace()) {
            const auto texts = labels().Connection;
            m_notifications.show(Place::Icon,
                                 {texts.noIcon, texts.noIconHow, texts.conn_status_title});
        }
    };
    // A home directory may hang.
    Worker::runThen([] { return QFileInfo::exists(iconNote()); }, this, tell);
}

void DesktopNotifier::open(Place place)
{
    if (AppDelegate::isTerminating()) {
        return;
    }
    WindowActivation::noteAction(0); // the click does not say when it was
    if (place == Place::Question) {
        AppDelegate::state().userAcknowledge->present();
    } else if (place == Place::Absence) {
        m_log.show();
    } else {
        AppDelegate::connectionDisplay();
    }
}

void DesktopNotifier::stop()
{
    m_sessionTimer.stop();
    m_questionTimer.stop();
    m_iconTimer.stop();
    Announcements::withdraw(Announcements::About::Question);
    m_notifications.withdrawAll();
}

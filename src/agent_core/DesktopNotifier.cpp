#include "agent_core/DesktopNotifier.h"

#include "agent_state/AppDelegate.h"
#include "localisation/ShownText.h"
#include "platform/desktop/Announcements.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/files/MainBundle.h"
#include "records/Intervals.h"
#include "settings/AllowedSettings.h"
#include "windows/ConnectionStatus.h"
#include "windows/UserAcknowlegement.h"

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

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

// "Session began: Ann Carter".
QString lineFor(Activity::Kind kind, const QString& text, const JsonData::Info& labels)
{
    return ShownText::line(Activity{.kind = kind}.event(labels) + u": "_s + text, kLongestLine);
}

QString text(const QStringList& lines)
{
    QStringList shown = lines.first(std::min(lines.size(), kMostLines));
    if (lines.size() > kMostLines) {
        shown.append(u"… + "_s + QString::number(lines.size() - kMostLines));
    }
    return shown.join(u'\n');
}

} // namespace

DesktopNotifier::DesktopNotifier(LabelSource labels, const QString& applicationName,
                                 const ConnectionStatus& status,
                                 const UserAcknowledgement& question, QObject* parent)
    : QObject(parent), m_labels(std::move(labels)), m_status(status), m_question(question),
      m_notifications(applicationName,
                      MainBundle::resourcePath(u"vantoryAgent"_s, u"png"_s).value_or(QString()))
{
    m_sessionTimer.setSingleShot(true);
    m_sessionTimer.setInterval(kUntilInPlace);
    m_questionTimer.setInterval(kUntilInPlace);
    m_sessionTimer.callOnTimeout(this, &DesktopNotifier::showSessions);
    m_questionTimer.callOnTimeout(this, &DesktopNotifier::lookAtQuestion);
    connect(&m_status, &ConnectionStatus::cameUp, this, [this] {
        m_notifications.letPass(Notifications::Place::Absence);
        if (std::all_of(m_news.cbegin(), m_news.cend(),
                        [](const News& news) { return news.hasRow; })) {
            m_notifications.withdraw(Notifications::Place::Sessions); // the window says it now
        }
        if (m_sessionTimer.isActive()) {
            m_sessionTimer.start(); // it is not in its place yet
        }
    });
    connect(&m_notifications, &Notifications::activated, this, &DesktopNotifier::activated);
    connect(&m_notifications, &Notifications::taken, this, [this](Notifications::Place place) {
        if (place == Notifications::Place::Icon) {
            Q_EMIT missingIconTold();
        }
    });
}

void DesktopNotifier::tellSession(Activity::Kind kind, const SessionInfo& session, bool isByUser)
{
    const QString line =
        lineFor(kind, session.remoteControlUser, m_labels().value_or(englishFallback()));
    // Said whatever the account says about showing: sighted users have the icon.
    Announcements::say(line);
    if (isByUser) {
        return;
    }
    if (!m_sinceNews.isValid() || m_sinceNews.elapsed() > kReadAfter) {
        m_news.clear();
    }
    m_sinceNews.start();
    const QList<SessionInfo>& listed = m_status.sessions();
    const auto place = std::find_if(listed.cbegin(), listed.cend(), [&](const SessionInfo& other) {
        return other.session == session.session;
    });
    // A session that has ended is no longer listed: it counts as having stood last.
    const bool hasRow = place - listed.cbegin() < ConnectionStatus::kRows;
    m_news.prepend({line, kind == Activity::Kind::SessionNotEnded, hasRow});
    m_news.resize(std::min(m_news.size(), kMostNews));
    m_sessionTimer.start();
}

void DesktopNotifier::showSessions()
{
    const bool isInSight = WindowActivation::isInSight(m_status);
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
        m_notifications.show(Notifications::Place::Sessions,
                             {newest, text(lines),
                              m_labels().value_or(englishFallback()).Connection.conn_status_title});
    }
}

void DesktopNotifier::askQuestion()
{
    withdrawQuestion(); // another one's
    m_sinceQuestion.start();
    m_questionTimer.start();
    Announcements::say(m_labels().value_or(englishFallback()).UserAck.user_ack_title + u'\n' +
                           questionText(),
                       Announcements::About::Question);
}

// The question, and that it has taken another one's place.
QString DesktopNotifier::questionText() const
{
    QString text = ShownText::line(m_question.question(), kLongestQuestion);
    if (m_question.replacesAnother) {
        text += u'\n' + m_labels().value_or(englishFallback()).UserAck.replaced;
    }
    return text;
}

void DesktopNotifier::lookAtQuestion()
{
    std::optional<bool> stays;
    if (!WindowActivation::isInSight(m_question)) {
        stays = !WindowActivation::isInSight(m_status);
    } else if (m_sinceQuestion.hasExpired(Intervals::current().untilQuestionNotification.count())) {
        stays = false;
    }
    if (std::exchange(m_questionStays, stays) == stays) {
        return;
    }
    if (stays) {
        const QString title = m_labels().value_or(englishFallback()).UserAck.user_ack_title;
        m_notifications.show(Notifications::Place::Question,
                             {title, questionText(), title, *stays});
    } else {
        m_notifications.withdraw(Notifications::Place::Question);
    }
}

void DesktopNotifier::tellMissingIcon()
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    m_notifications.show(Notifications::Place::Icon,
                         {labels.Connection.noIcon, labels.Connection.noIconHow,
                          labels.Connection.conn_status_title});
}

void DesktopNotifier::stop()
{
    m_sessionTimer.stop();
    m_questionTimer.stop();
    Announcements::withdraw(Announcements::About::Question);
    m_notifications.withdrawAll();
}

void DesktopNotifier::withdrawQuestion()
{
    m_questionTimer.stop();
    m_questionStays.reset();
    m_notifications.withdraw(Notifications::Place::Question);
    Announcements::withdraw(Announcements::About::Question);
}

void DesktopNotifier::tellWithdrawal()
{
    m_questionTimer.stop();
    const QString text = m_labels().value_or(englishFallback()).UserAck.withdrawn;
    m_notifications.show(Notifications::Place::Question, {text, {}, {}});
    Announcements::say(text, Announcements::About::Question);
}

void DesktopNotifier::tellAbsence(const QList<Activity>& activities)
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    QStringList lines;
    QStringList commands;
    for (const Activity& activity : activities) {
        if (activity.kind == Activity::Kind::Command) {
            commands.append(activity.text);
        } else {
            lines.append(ShownText::line(activity.time.toString(u"HH:mm "_s) +
                                             activity.event(labels) + u": "_s + activity.details(),
                                         kLongestLine));
        }
    }
    if (!commands.isEmpty()) { // how many, and the first few, whatever else there is
        const QString count = QString::number(commands.size());
        lines.insert(std::min(lines.size(), kMostLines - 1),
                     ShownText::line(
                         labels.Activity.command + u" ("_s + count + u"): "_s +
                             commands.first(std::min<qsizetype>(commands.size(), 5)).join(u"; "_s),
                         kLongestLine));
    }
    m_notifications.show(
        Notifications::Place::Absence,
        {labels.Activity.away, text(lines), labels.Activity.title, !m_status.isSeen()});
    lines.prepend(labels.Activity.away);
    Announcements::say(text(lines));
}

void DesktopNotifier::withdrawAbsence()
{
    m_notifications.withdraw(Notifications::Place::Absence);
}

#include "agent_core/DesktopNotices.h"

#include "localisation/ShownText.h"
#include "platform/desktop/Announcements.h"
#include "platform/files/MainBundle.h"
#include "settings/AllowedSettings.h"
#include "windows/ActivityWindow.h"

#include <algorithm>
#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Notification services show few lines.
constexpr qsizetype kMostLines = 5;
constexpr qsizetype kLongestLine = 120;
constexpr qsizetype kLongestQuestion = 400;
constexpr std::chrono::milliseconds kGathering(100);
// An older line has been read.
constexpr qint64 kReadAfter = 10'000; // milliseconds

// Of sessions, as many as are kept to be shown or counted.
constexpr qsizetype kMostNews = 100;

// "Session began: Ann Carter".
QString lineFor(const Activity& activity, const JsonData::Info& labels)
{
    return ShownText::line(
        ActivityWindow::eventName(activity.kind, labels) + u": "_s + activity.text, kLongestLine);
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

DesktopNotices::DesktopNotices(LabelSource labels, const QString& applicationName, QObject* parent)
    : QObject(parent), m_labels(std::move(labels)),
      m_notifications(applicationName,
                      MainBundle::resourcePath(u"vantoryAgent"_s, u"png"_s).value_or(QString()))
{
    m_sessionTimer.setSingleShot(true);
    m_sessionTimer.setInterval(kGathering);
    connect(&m_sessionTimer, &QTimer::timeout, this, &DesktopNotices::showSessions);
    connect(&m_notifications, &Notifications::activated, this, &DesktopNotices::activated);
    connect(&m_notifications, &Notifications::taken, this, [this](Notifications::Place place) {
        if (place == Notifications::Place::Icon) {
            Q_EMIT missingIconTold();
        }
    });
}

void DesktopNotices::tellSession(const Activity& activity)
{
    if (!m_sinceNews.isValid() || m_sinceNews.elapsed() > kReadAfter) {
        m_news.clear();
    }
    m_sinceNews.start();
    m_news.prepend(activity);
    m_news.resize(std::min(m_news.size(), kMostNews));
    // Said whatever the account says about showing: sighted users have the icon.
    if (!activity.isUnseen) {
        Announcements::say(lineFor(activity, m_labels().value_or(englishFallback())));
    }
    if (!m_sessionTimer.isActive()) {
        m_sessionTimer.start();
    }
}

void DesktopNotices::showSessions()
{
    QList<Activity> told = m_news;
    if (showsAgentOnConnection() == false) {
        told.removeIf([](const Activity& activity) {
            return activity.kind != Activity::Kind::SessionNotEnded;
        });
    }
    if (told.isEmpty()) {
        return;
    }
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    QStringList lines;
    for (const Activity& activity : std::as_const(told)) {
        lines.append(lineFor(activity, labels));
    }
    const QString newest = lines.takeFirst();
    m_notifications.show(Notifications::Place::Sessions,
                         {newest, text(lines), labels.Connection.conn_status_title, false, false});
}

void DesktopNotices::askQuestion(const QString& question, bool replacesAnother)
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    QStringList lines{ShownText::line(question, kLongestQuestion)};
    if (replacesAnother) {
        lines.append(labels.UserAck.replaced);
    }
    m_notifications.show(
        Notifications::Place::Question,
        {labels.UserAck.user_ack_title, text(lines), labels.UserAck.user_ack_title, true, true});
    lines.prepend(labels.UserAck.user_ack_title);
    Announcements::say(lines.join(u'\n'), Announcements::About::Question);
}

void DesktopNotices::tellMissingIcon()
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    m_notifications.show(Notifications::Place::Icon,
                         {labels.Connection.noIcon, labels.Connection.noIconHow,
                          labels.Connection.conn_status_title, false, false});
}

void DesktopNotices::stop()
{
    m_sessionTimer.stop();
    withdrawQuestion(); // nobody could answer it any more
}

void DesktopNotices::withdrawQuestion()
{
    m_notifications.withdraw(Notifications::Place::Question);
    Announcements::withdraw(Announcements::About::Question);
}

void DesktopNotices::tellWithdrawal()
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    m_notifications.show(
        Notifications::Place::Question,
        {labels.UserAck.withdrawn, QString(), labels.UserAck.user_ack_title, false, false});
    Announcements::say(labels.UserAck.withdrawn, Announcements::About::Question);
}

void DesktopNotices::tellAbsence(const QList<Activity>& activities)
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    QStringList lines;
    for (const Activity& activity : activities) {
        lines.append(activity.time.toString(u"HH:mm "_s) + lineFor(activity, labels));
    }
    // They say the same, and stood behind the locked screen.
    m_news.clear();
    m_sessionTimer.stop();
    m_notifications.withdraw(Notifications::Place::Sessions);
    m_notifications.show(Notifications::Place::Absence,
                         {labels.Activity.away, text(lines), labels.Activity.title, true, true});
    lines.prepend(labels.Activity.away);
    Announcements::say(text(lines));
}

void DesktopNotices::absenceSeen()
{
    m_notifications.withdraw(Notifications::Place::Absence);
}

#include "agent_core/DesktopNotices.h"

#include "platform/files/MainBundle.h"
#include "service_link/AllowedSettings.h"
#include "window_kit/ShownText.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Notification services show few lines.
constexpr qsizetype kMostLines = 5;
constexpr qsizetype kLongestLine = 120;
constexpr std::chrono::milliseconds kGathering(100);
// An older line has been read.
constexpr qint64 kReadAfter = 10'000; // milliseconds

QString text(const QStringList& lines)
{
    QStringList shown;
    for (const QString& line : lines.first(std::min(lines.size(), kMostLines))) {
        shown.append(ShownText::line(line, kLongestLine));
    }
    if (lines.size() > kMostLines) {
        shown.append(u"… + "_s + QString::number(lines.size() - kMostLines));
    }
    return shown.join(u'\n');
}

} // namespace

DesktopNotices::DesktopNotices(LabelSource labels, const QString& applicationName)
    : m_labels(std::move(labels)),
      m_notifications(applicationName,
                      MainBundle::resourcePath(u"vantoryAgent"_s, u"png"_s).value_or(QString()))
{
    m_sessionTimer.setSingleShot(true);
    m_sessionTimer.setInterval(kGathering);
    connect(&m_sessionTimer, &QTimer::timeout, this, &DesktopNotices::showSessions);
    connect(&m_notifications, &Notifications::activated, this, &DesktopNotices::activated);
}

void DesktopNotices::tellSession(const QString& line)
{
    if (!m_sinceLine.isValid() || m_sinceLine.elapsed() > kReadAfter) {
        m_lines.clear();
        m_isWanted = false;
    }
    m_sinceLine.start();
    m_lines.prepend(line);
    m_sessionTimer.start();
}

void DesktopNotices::tellSessionAlways(const QString& line)
{
    tellSession(line);
    m_isWanted = true;
}

void DesktopNotices::showSessions()
{
    const auto settings = readAllowedSettings();
    if (!m_isWanted && settings && settings->show_agent_ui_on_connection == false) {
        return;
    }
    m_notifications.show(Notifications::Place::Sessions,
                         {ShownText::line(m_lines.constFirst(), kLongestLine),
                          text(m_lines.sliced(1)), false, false});
}

void DesktopNotices::askQuestion(const QString& question, bool replacesAnother)
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    QStringList lines{question};
    if (replacesAnother) {
        lines.append(labels.UserAck.replaced);
    }
    m_notifications.show(Notifications::Place::Question,
                         {labels.UserAck.user_ack_title, text(lines), true, true});
}

void DesktopNotices::questionAnswered()
{
    m_notifications.withdraw(Notifications::Place::Question);
}

void DesktopNotices::questionWithdrawn()
{
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    m_notifications.show(Notifications::Place::Question,
                         {labels.UserAck.withdrawn, QString(), false, false});
}

void DesktopNotices::tellAbsence(const QStringList& lines)
{
    const auto settings = readAllowedSettings();
    if (settings && settings->show_agent_ui_on_connection == false) {
        return;
    }
    const JsonData::Info labels = m_labels().value_or(englishFallback());
    m_lines.clear();
    m_sessionTimer.stop();
    m_notifications.withdraw(Notifications::Place::Sessions); // the same, behind the locked screen
    m_notifications.show(Notifications::Place::Absence,
                         {labels.Activity.away, text(lines), true, true});
}

void DesktopNotices::absenceSeen()
{
    m_notifications.withdraw(Notifications::Place::Absence);
}

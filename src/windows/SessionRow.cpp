#include "windows/SessionRow.h"

#include "localisation/ShownText.h"
#include "window_kit/ElidedLabel.h"
#include "window_kit/Pictures.h"
#include "windows/SessionClock.h"

#include <QLabel>
#include <QToolButton>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds kSettlingTime(600);
constexpr int kRoom = 66;               // for the lines of a row, in points
constexpr qsizetype kLongestName = 200; // that is spoken

void nameButton(QToolButton* button, const QString& text)
{
    button->setToolTip(text);
    button->setAccessibleName(text);
}

} // namespace

SessionRow::SessionRow()
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(kSettlingTime);
}

void SessionRow::setWidgets(const Widgets& widgets)
{
    m_widgets = widgets;
    widgets.timing->clear();
    Pictures::show(*widgets.sign, u"appIcon-22-session"_s);
    Pictures::show(*widgets.chat, u"chat"_s);
    Pictures::show(*widgets.abort, u"abort"_s);
}

void SessionRow::translate(const QString& abort, const QString& chat)
{
    nameButton(m_widgets->abort, abort);
    nameButton(m_widgets->chat, chat);
}

void SessionRow::show(const std::optional<SessionInfo>& session, bool canEnd, const QString& note)
{
    const auto before = std::exchange(m_session, session);
    m_isClockRunning = m_session.has_value();
    const bool isAnother = !m_session || !before || m_session->session != before->session ||
                           m_session->remoteControlUser != before->remoteControlUser;
    if (isAnother) {
        m_pressed.reset();
        m_settling.start();
    }
    if (!m_widgets) {
        return;
    }
    m_widgets->place->setVisible(m_session.has_value());
    const QString name = m_session ? m_session->remoteControlUser : QString();
    m_widgets->name->setFullText(name);
    m_widgets->card->setAccessibleName(
        ShownText::line(name, kLongestName)); // whose buttons are in it
    m_widgets->abort->setVisible(canEnd);
    m_widgets->note->setFullText(note);
    m_widgets->note->setVisible(!note.isEmpty());
    m_widgets->timing->setVisible(note.isEmpty() ||
                                  3 * m_widgets->name->fontMetrics().height() <= kRoom);
    if (isAnother) {
        m_widgets->timing->clear();
        tick();
    }
}

void SessionRow::tick()
{
    if (m_widgets && m_isClockRunning && m_session->sessionDate) {
        if (const auto text = elapsedText(sessionDateNow() - *m_session->sessionDate)) {
            m_widgets->timing->setText(*text);
        }
    }
}

void SessionRow::stopClock()
{
    m_isClockRunning = false;
}

void SessionRow::press()
{
    const bool isSettling = m_settling.isActive();
    if (isSettling) {
        m_settling.start();
    }
    m_pressed = isSettling ? std::nullopt : session();
}

bool SessionRow::isPressMeant()
{
    const auto pressed = std::exchange(m_pressed, std::nullopt);
    return pressed && pressed == session();
}

std::optional<qint64> SessionRow::session() const
{
    return m_session ? std::optional(m_session->session) : std::nullopt;
}

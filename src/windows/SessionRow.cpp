#include "windows/SessionRow.h"

#include "platform/desktop/BundleImages.h"
#include "records/Intervals.h"
#include "window_kit/ElidedLabel.h"
#include "windows/SessionClock.h"

#include <QLabel>
#include <QToolButton>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

void nameButton(QToolButton* button, const QString& text)
{
    button->setToolTip(text);
    button->setAccessibleName(text);
}

} // namespace

void SessionRow::setWidgets(const Widgets& widgets)
{
    m_widgets = widgets;
    widgets.timing->clear();
    widgets.sign->setPixmap(BundleImages::pixmap(u"appIcon-22-session"_s, *widgets.sign));
    widgets.chat->setIcon(BundleImages::icon(u"chat"_s).value_or(QIcon()));
    widgets.abort->setIcon(BundleImages::icon(u"abort"_s).value_or(QIcon()));
}

void SessionRow::translate(const QString& abort, const QString& chat)
{
    nameButton(m_widgets->abort, abort);
    nameButton(m_widgets->chat, chat);
}

void SessionRow::show(const std::optional<SessionInfo>& session, bool canEnd)
{
    const auto before = std::exchange(m_session, session);
    if (!m_session) {
        sessionTimer.stop();
    } else if (!sessionTimer.isActive()) {
        sessionTimer.start(Intervals::current().clock);
    }
    if (!m_widgets) {
        return;
    }
    m_widgets->place->setVisible(m_session.has_value());
    m_widgets->name->setFullText(m_session ? m_session->remoteControlUser : QString());
    m_widgets->abort->setVisible(canEnd);
    if (!m_session || !before || m_session->session != before->session) {
        m_widgets->timing->clear();
        tick();
    }
}

void SessionRow::tick()
{
    if (m_widgets && m_session && m_session->sessionDate) {
        if (const auto text = elapsedText(sessionDateNow() - *m_session->sessionDate)) {
            m_widgets->timing->setText(*text);
        }
    }
}

std::optional<qint64> SessionRow::session() const
{
    return m_session ? std::optional(m_session->session) : std::nullopt;
}

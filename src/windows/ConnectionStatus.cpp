#include "windows/ConnectionStatus.h"

#include "platform/desktop/WorkArea.h"
#include "records/Intervals.h"
#include "ui_ConnectionStatus.h"
#include "window_kit/AgentWindow.h"
#include "window_kit/FittingText.h"
#include "window_kit/Pictures.h"
#include "window_kit/PlainToolTip.h"

#include <QEvent>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// What one row takes of the window's height, in points.
constexpr int kRowHeight = 80;

auto find(const QList<SessionInfo>& sessions, qint64 session)
{
    return std::find_if(sessions.cbegin(), sessions.cend(),
                        [session](const SessionInfo& listed) { return listed.session == session; });
}

} // namespace

// Has a fixed size, and its place in the screen's corner.
class ConnectionStatus::Window : public AgentWindow<QWidget> {
public:
    explicit Window(ConnectionStatus& owner)
        : AgentWindow(Qt::Window, Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                                      Qt::WindowCloseButtonHint),
          m_owner(owner)
    {
        ui.setupUi(this);
        setLogo(ui.logo);
        for (QFrame* const card : {ui.card, ui.card2}) {
            card->setBackgroundRole(QPalette::Base);
        }
        connectRow(owner.m_rows[0], *ui.abort, &ConnectionStatus::Abort);
        connectRow(owner.m_rows[0], *ui.ChatButton, &ConnectionStatus::ChatAction);
        connectRow(owner.m_rows[1], *ui.abort2, &ConnectionStatus::Abort2);
        connectRow(owner.m_rows[1], *ui.ChatButton2, &ConnectionStatus::ChatAction2);
        connectButton(ui.activity, [this] { Q_EMIT m_owner.activityRequested(); });
    }

    // Takes the keyboard to where it presses nothing; the Tab key goes on to the buttons.
    void leaveButtons() { ui.agentDesc->setFocus(Qt::OtherFocusReason); }
    // Likewise from a row that changes: it would pass to a button of another session.
    void leaveRow(std::size_t row)
    {
        const QWidget* const place = row == 0 ? ui.slot : ui.slot2;
        if (place->isAncestorOf(focusWidget())) {
            leaveButtons();
        }
    }

    // The person has asked for the window: the keyboard is where it is seen.
    void enterByKeyboard()
    {
        if (focusWidget() == nullptr || focusWidget() == ui.agentDesc) {
            ui.activity->setFocus(Qt::OtherFocusReason);
        }
    }

    void fitState()
    {
        layout()->activate();
        fitText(*ui.agentDesc, font());
    }

    Ui::ConnectionStatus ui;

protected:
    bool event(QEvent* event) override
    {
        const bool result = AgentWindow::event(event);
        switch (event->type()) {
        case QEvent::Show:
            // The frame, which counts for the place, is there when the window is on the screen.
            windowHandle()->installEventFilter(this);
            m_isToBePlaced = true;
            fitState();
            m_owner.inSession();
            m_owner.inSession2();
            break;
        case QEvent::Resize:
            m_isToBePlaced = true;
            break;
        case QEvent::FontChange:
            fitState();
            break;
        case QEvent::WindowStateChange:
            // A minimised window was not redrawn.
            if (m_owner.isVisible()) {
                m_owner.config();
                m_owner.inSession();
                m_owner.inSession2();
            }
            break;
        default:
            break;
        }
        return result;
    }

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Expose && m_isToBePlaced && windowHandle()->isExposed()) {
            m_isToBePlaced = false;
            m_owner.setPosition();
        }
        return AgentWindow::eventFilter(watched, event);
    }

private:
    void connectRow(SessionRow& row, QToolButton& button, void (ConnectionStatus::*action)())
    {
        connect(&button, &QToolButton::pressed, this, [&row] { row.press(); });
        connectButton(&button, [this, &row, action] {
            if (row.isPressMeant()) {
                (m_owner.*action)();
            }
        });
    }

    ConnectionStatus& m_owner;
    bool m_isToBePlaced = true;
};

ConnectionStatus::ConnectionStatus(LabelSource labels)
    : ready(u"Agent ready"_s), no_gateway(u"No gateway available"_s),
      account_invalid(u"Account is blocked or no longer exists"_s), m_labels(std::move(labels)),
      m_notEnded(englishFallback().Connection.notEnded),
      m_activityTitle(englishFallback().Activity.title),
      m_awayTitle(englishFallback().Activity.away)
{
    connect(&sessionTimer, &QTimer::timeout, this, [this] {
        inSession();
        inSession2();
    });
}

ConnectionStatus::~ConnectionStatus() = default;

bool ConnectionStatus::isVisible() const
{
    return m_window && m_window->isVisible() && !m_window->isMinimized();
}

void ConnectionStatus::present()
{
    window();
    setPosition();
    m_window->enterByKeyboard();
    m_window->present();
}

void ConnectionStatus::presentByService()
{
    window();
    setPosition();
    // Also a window that is shown: the focus may have stayed on a button since the person left it.
    m_window->leaveButtons();
    // Where it is not shown, it comes up in a corner in which the person may be clicking.
    m_window->presentByService(isVisible() ? InputGuard::Inputs::Keyboard
                                           : InputGuard::Inputs::KeyboardAndMouse);
}

void ConnectionStatus::wakeUp()
{
    if (m_window && m_window->isVisible() && m_window->isMinimized()) {
        presentByService();
    }
}

void ConnectionStatus::hide()
{
    if (m_window) {
        m_window->hide();
    }
}

ConnectionStatus::Window& ConnectionStatus::window()
{
    if (!m_window) {
        m_window = std::make_unique<Window>(*this);
        awakeFromNib();
        config();
    }
    return *m_window;
}

void ConnectionStatus::awakeFromNib()
{
    const Ui::ConnectionStatus& ui = m_window->ui;
    m_rows[0].setWidgets({ui.slot, ui.card, ui.sessionSign, ui.ControlUserName, ui.timing, ui.note,
                          ui.ChatButton, ui.abort});
    m_rows[1].setWidgets({ui.slot2, ui.card2, ui.sessionSign2, ui.ControlUserName2, ui.timing2,
                          ui.note2, ui.ChatButton2, ui.abort2});
    refresh();
}

void ConnectionStatus::translate(const JsonData::Info& data)
{
    ready = data.Connection.ready;
    no_gateway = data.Connection.no_gateway;
    account_invalid = data.Connection.account_invalid;
    m_notEnded = data.Connection.notEnded;
    m_activityTitle = data.Activity.title;
    m_awayTitle = data.Activity.away;
    if (!m_window) {
        return;
    }
    m_window->setWindowTitle(u"vantory - "_s + data.Connection.conn_status_title);
    for (SessionRow& row : m_rows) {
        row.translate(data.Connection.abort_connection_label, data.Chat.chat);
    }
}

void ConnectionStatus::setPosition()
{
    // Moving or resizing a minimised window would bring it back.
    if (m_window && !m_window->isMinimized() && m_window->screen() != nullptr) {
        const int screenWidth = m_window->screen()->geometry().width();
        const QMargins untold = WorkArea::untold();
        m_window->move(screenWidth - m_window->frameGeometry().width() - untold.right(),
                       untold.top());
    }
}

void ConnectionStatus::resizeWindow(qsizetype sessionNumber)
{
    if (m_window && !m_window->isMinimized()) {
        const auto rows = static_cast<qsizetype>(m_rows.size());
        const bool isFull = sessionNumber < 0 || sessionNumber > rows;
        const auto unused = static_cast<int>(isFull ? 0 : rows - sessionNumber);
        m_window->setFixedSize(width, height - unused * kRowHeight);
    }
    setPosition();
}

void ConnectionStatus::refresh()
{
    if (const auto labels = m_labels()) {
        translate(*labels);
    }
    if (m_window) {
        m_window->refreshLogo(logoChanged);
    }
}

void ConnectionStatus::setConnection(const SessionInfo& sessionInfo)
{
    if (find(m_sessions, sessionInfo.session) == m_sessions.cend()) {
        m_sessions.append(sessionInfo);
    }
}

void ConnectionStatus::resetConnection(qint64 session)
{
    const auto found = find(m_sessions, session);
    if (found != m_sessions.cend()) {
        m_sessions.erase(found);
    }
}

void ConnectionStatus::config()
{
    resizeWindow(m_sessions.size());
    showState();
    showActivityButton();
    showRows();
    if (!isAnyClockRunning()) {
        sessionTimer.stop();
    } else if (!sessionTimer.isActive()) {
        sessionTimer.start(Intervals::current().clock);
    }
}

void ConnectionStatus::showRows()
{
    for (std::size_t index = 0; index < m_rows.size(); ++index) {
        const auto listed = static_cast<qsizetype>(index);
        const auto session =
            listed < m_sessions.size() ? std::optional(m_sessions.at(listed)) : std::nullopt;
        SessionRow& row = m_rows.at(index);
        const auto number = session ? std::optional(session->session) : std::nullopt;
        if (m_window && (number != row.session() || !isManaged)) {
            m_window->leaveRow(index);
        }
        row.show(session, isManaged, number && notEnded.contains(*number) ? m_notEnded : QString());
    }
}

void ConnectionStatus::showState()
{
    if (!m_window) {
        return;
    }
    QLabel& sign = *m_window->ui.gateway_status;
    Pictures::show(sign, gatewayConnectionStatus ? u"status-available"_s : u"status-unavailable"_s);
    sign.setAccessibleName(gatewayConnectionStatus ? ready : no_gateway);
    if (showConnectionDetail) {
        setPlainToolTip(sign, gateway_name);
    }
    m_window->ui.agentDesc->setText(stateText());
    m_window->fitState();
}

void ConnectionStatus::showActivityButton()
{
    if (!m_window) {
        return;
    }
    QToolButton& button = *m_window->ui.activity;
    Pictures::show(button, hasUnseenActivity ? u"activity-unseen"_s : u"activity"_s);
    const QString& title = hasUnseenActivity ? m_awayTitle : m_activityTitle;
    button.setToolTip(title);
    button.setAccessibleName(title);
}

QString ConnectionStatus::stateText() const
{
    if (gatewayConnectionStatus) {
        return ready;
    }
    if (!accountIsValid) {
        return {};
    }
    return *accountIsValid ? no_gateway : account_invalid;
}

bool ConnectionStatus::isAnyClockRunning() const
{
    return std::any_of(m_rows.cbegin(), m_rows.cend(),
                       [](const SessionRow& row) { return row.isClockRunning(); });
}

void ConnectionStatus::inSession()
{
    tick(0);
}

void ConnectionStatus::inSession2()
{
    tick(1);
}

void ConnectionStatus::tick(std::size_t row)
{
    if (isVisible()) {
        m_rows.at(row).tick();
    }
}

void ConnectionStatus::Abort()
{
    abortSession(0);
}

void ConnectionStatus::Abort2()
{
    abortSession(1);
}

void ConnectionStatus::abortSession(std::size_t row)
{
    m_rows.at(row).stopClock();
    if (const auto session = m_rows.at(row).session()) {
        Q_EMIT endRequested(*session);
    }
}

void ConnectionStatus::ChatAction()
{
    requestChat(0);
}

void ConnectionStatus::ChatAction2()
{
    requestChat(1);
}

void ConnectionStatus::requestChat(std::size_t row)
{
    if (const auto session = m_rows.at(row).session()) {
        Q_EMIT chatRequested(*session);
    }
}

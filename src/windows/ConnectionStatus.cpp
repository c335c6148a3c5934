#include "windows/ConnectionStatus.h"

#include "localisation/ShownText.h"
#include "platform/desktop/WindowActivation.h"
#include "records/Intervals.h"
#include "ui_ConnectionStatus.h"
#include "window_kit/ElidedLabel.h"

#include <QEvent>
#include <QScreen>
#include <QWindow>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Points.
constexpr int kWidth = 313;
constexpr int kHeight = 313; // with two sessions
constexpr int kRowHeight = 80;
constexpr int kRoom = 66;               // for the lines of a row
constexpr qsizetype kLongestName = 200; // that is spoken

void nameButton(QToolButton& button, const QString& text)
{
    button.setToolTip(text);
    button.setAccessibleName(text);
}

// Gives the label the largest font, up to that one, in which its text fits.
void fitText(QLabel& label, QFont font)
{
    constexpr qreal kSmallest = 8; // points
    const auto hasRoom = [&] {
        const QRect room = label.contentsRect();
        return room.contains(QFontMetrics(font).boundingRect(
            room, static_cast<int>(label.alignment()) | Qt::TextWordWrap, label.text()));
    };
    while (font.pointSizeF() > kSmallest && !hasRoom()) {
        font.setPointSizeF(font.pointSizeF() - 0.5);
    }
    label.setFont(font);
}

} // namespace

std::optional<QString> elapsedText(double seconds)
{
    // A machine's clock may be set at any moment; a century is more than any session.
    constexpr double kLongest = 100.0 * 366 * 24 * 60 * 60;
    if (!(seconds > 1.0) || seconds > kLongest) {
        return std::nullopt;
    }
    const auto whole = static_cast<qint64>(seconds);
    if (whole < 60) {
        return u"0:%1"_s.arg(whole, 2, 10, QLatin1Char('0'));
    }
    QString text;
    for (const qint64 unit : {whole / 86'400, whole / 3'600 % 24, whole / 60 % 60, whole % 60}) {
        if (!text.isEmpty()) {
            text += u":%1"_s.arg(unit, 2, 10, QLatin1Char('0'));
        } else if (unit != 0) {
            text = QString::number(unit);
        }
    }
    return text;
}

ConnectionStatus::ConnectionStatus(LabelSource labels)
    : AgentWindow(Qt::Window, kUsualButtons | Qt::WindowMinimizeButtonHint, std::move(labels))
{
    connect(&sessionTimer, &QTimer::timeout, this, &ConnectionStatus::inSession);
    connect(&sessionTimer, &QTimer::timeout, this, &ConnectionStatus::inSession2);
}

void ConnectionStatus::awakeFromNib()
{
    setUp();
    const auto& ui = *m_ui;
    m_rows = {{{sessionAt(0), ui.slot, ui.card, ui.ControlUserName, ui.timing, ui.note,
                ui.ChatButton, ui.abort},
               {sessionAt(1), ui.slot2, ui.card2, ui.ControlUserName2, ui.timing2, ui.note2,
                ui.ChatButton2, ui.abort2}}};
    ui.card->setBackgroundRole(QPalette::Base);
    ui.card2->setBackgroundRole(QPalette::Base);
    inputGuard.connectButton(ui.abort, [this] { Abort(); });
    inputGuard.connectButton(ui.abort2, [this] { Abort2(); });
    inputGuard.connectButton(ui.ChatButton, [this] { ChatAction(); });
    inputGuard.connectButton(ui.ChatButton2, [this] { ChatAction2(); });
    inputGuard.connectButton(ui.activity, [this] { Q_EMIT activityRequested(); });
    refresh();
    config();
}

void ConnectionStatus::present()
{
    if (!m_ui) {
        awakeFromNib();
    }
    setPosition();
    // The keyboard focus goes where the user can see it.
    if (focusWidget() == nullptr || focusWidget() == m_ui->agentDesc) {
        m_ui->activity->setFocus(Qt::OtherFocusReason);
    }
    AgentWindow::present();
}

void ConnectionStatus::presentByService()
{
    if (!m_ui) {
        awakeFromNib();
    }
    setPosition();
    // Also a window that is shown: the focus may have stayed on a button since the user left it.
    leaveButtons();
    // Where it is not shown, it comes up in a corner in which the user may be clicking.
    AgentWindow::presentByService(isSeen() ? InputGuard::Inputs::Keyboard
                                           : InputGuard::Inputs::KeyboardAndMouse);
}

void ConnectionStatus::wakeUp()
{
    if (isVisible() && isMinimized()) {
        presentByService();
    }
}

// Takes the keyboard to where it presses nothing; the Tab key goes on to the buttons.
void ConnectionStatus::leaveButtons()
{
    m_ui->agentDesc->setFocus(Qt::OtherFocusReason);
}

void ConnectionStatus::translate(const JsonData::Info& labels)
{
    m_texts = labels;
    setWindowTitle(u"vantory - "_s + labels.Connection.conn_status_title);
    for (const Row& row : m_rows) {
        nameButton(*row.abort, labels.Connection.abort_connection_label);
        nameButton(*row.chat, labels.Chat.chat);
    }
}

void ConnectionStatus::setPosition()
{
    // Moving or resizing a minimised window would bring it back.
    if (m_ui && !isMinimized() && screen() != nullptr) {
        const QMargins untold = WindowActivation::untoldMargins();
        move(screen()->geometry().width() - frameGeometry().width() - untold.right(), untold.top());
    }
}

void ConnectionStatus::resizeWindow(qsizetype sessionNumber)
{
    if (m_ui && !isMinimized()) {
        const bool isFull = sessionNumber < 0 || sessionNumber > 2;
        setFixedSize(kWidth, kHeight - (isFull ? 0 : 2 - int(sessionNumber)) * kRowHeight);
    }
    setPosition();
}

void ConnectionStatus::refresh()
{
    if (m_ui) { // else awakeFromNib() will read them
        translateAnew();
        refreshLogo();
    }
}

void ConnectionStatus::setConnection(const SessionInfo& sessionInfo)
{
    if (!isListed(sessionInfo.session, m_sessions)) {
        m_sessions.append(sessionInfo);
    }
}

void ConnectionStatus::resetConnection(qint64 session)
{
    m_sessions.removeIf([=](const SessionInfo& listed) { return listed.session == session; });
}

std::optional<SessionInfo> ConnectionStatus::sessionAt(qsizetype index) const
{
    return index < m_sessions.size() ? std::optional(m_sessions.at(index)) : std::nullopt;
}

void ConnectionStatus::config()
{
    resizeWindow(m_sessions.size());
    if (m_ui) {
        showState();
        showSession(m_rows[0], sessionAt(0));
        showSession(m_rows[1], sessionAt(1));
    }
    if (m_sessions.isEmpty()) {
        sessionTimer.stop();
    } else if (!sessionTimer.isActive()) {
        sessionTimer.start(Intervals::current().clock);
    }
}

void ConnectionStatus::showState()
{
    const auto& texts = m_texts.Connection;
    QLabel& sign = *m_ui->gateway_status;
    Pictures::show(sign, gatewayConnectionStatus ? u"status-available"_s : u"status-unavailable"_s);
    sign.setAccessibleName(gatewayConnectionStatus ? texts.ready : texts.no_gateway);
    if (showConnectionDetail) {
        setPlainToolTip(sign, gateway_name);
    }
    QString state;
    if (gatewayConnectionStatus) {
        state = texts.ready;
    } else if (accountIsValid) {
        state = *accountIsValid ? texts.no_gateway : texts.account_invalid;
    }
    m_ui->agentDesc->setText(state);
    layout()->activate();
    fitText(*m_ui->agentDesc, font());
    Pictures::show(*m_ui->activity, hasUnseenActivity ? u"activity-unseen"_s : u"activity"_s);
    nameButton(*m_ui->activity, hasUnseenActivity ? m_texts.Activity.away : m_texts.Activity.title);
}

void ConnectionStatus::showSession(Row& row, const std::optional<SessionInfo>& session)
{
    const auto before = std::exchange(row.session, session);
    const bool isAnother = !session || !before || session->session != before->session ||
                           session->remoteControlUser != before->remoteControlUser;
    const QWidget* const focus = focusWidget();
    if (isAnother ? row.place->isAncestorOf(focus) : !isManaged && focus == row.abort) {
        leaveButtons(); // the keyboard would pass to another button
    }
    if (isAnother) {
        inputGuard.changed(*row.place);
        row.timing->clear();
    }
    row.place->setVisible(session.has_value());
    const QString name = session ? session->remoteControlUser : QString();
    row.name->setFullText(name);
    row.card->setAccessibleName(ShownText::line(name, kLongestName)); // whose buttons are in it
    row.abort->setVisible(isManaged);
    const bool hasNote = session && notEnded.contains(session->session);
    row.note->setFullText(hasNote ? m_texts.Connection.notEnded : QString());
    row.note->setVisible(hasNote);
    row.timing->setVisible(!hasNote || 3 * row.name->fontMetrics().height() <= kRoom);
    if (isAnother) {
        showTime(row);
    }
}

// A window that comes into sight shows both rows' time anew.
void ConnectionStatus::showTime(const Row& row) const
{
    if (isSeen() && row.session && row.session->sessionDate) {
        if (const auto text = elapsedText(sessionDateNow() - *row.session->sessionDate)) {
            row.timing->setText(*text);
        }
    }
}

void ConnectionStatus::request(void (ConnectionStatus::*signal)(qint64), std::size_t row)
{
    if (const auto session = m_rows.at(row).session) {
        Q_EMIT(this->*signal)(session->session);
    }
}

bool ConnectionStatus::event(QEvent* event)
{
    const bool result = AgentWindow::event(event);
    const bool isShown = event->type() == QEvent::Show;
    const bool isBack = event->type() == QEvent::WindowStateChange && isSeen();
    if (isShown) {
        windowHandle()->installEventFilter(this);
    }
    if (isShown || event->type() == QEvent::Resize) {
        // The frame, which counts for the place, is there when the window is on the screen.
        m_isToBePlaced = true;
    }
    if (isBack) {
        config(); // a minimised window was not redrawn
    } else if (isShown || (event->type() == QEvent::FontChange && m_ui)) {
        showState();
    }
    if (isShown || isBack) {
        inSession();
        inSession2();
        Q_EMIT cameUp();
    }
    return result;
}

bool ConnectionStatus::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Expose && m_isToBePlaced && windowHandle()->isExposed()) {
        m_isToBePlaced = false;
        setPosition();
    }
    return AgentWindow::eventFilter(watched, event);
}

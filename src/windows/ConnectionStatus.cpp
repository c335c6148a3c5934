#include "windows/ConnectionStatus.h"

#include <algorithm>

#include <QEvent>
#include <QScreen>
#include <QTimer>
#include <QToolButton>
#include <QWidget>
#include <QWindow>

#include "agent_core/AppDelegate.h"
#include "chat/ChatController.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/threads/MainQueue.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "ui_ConnectionStatus.h"
#include "window_kit/ElidedLabel.h"
#include "window_kit/InertPeriod.h"
#include "window_kit/Logo.h"
#include "window_kit/ShownText.h"
#include "windows/SessionClock.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kSlots = 2;
// A window of a fixed size, above the others.
constexpr Qt::WindowFlags kFlags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                   Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                                   Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint;
// What one slot takes of the window's height, in points.
constexpr int kSlotHeight = 80;

QPixmap picture(const QString& name, const QWidget& place)
{
    const auto icon = BundleImages::icon(name);
    return icon ? icon->pixmap(place.size(), place.devicePixelRatioF()) : QPixmap();
}

void nameButton(QToolButton* button, const QString& text)
{
    button->setToolTip(text);
    button->setAccessibleName(text);
}

} // namespace

class ConnectionStatus::Window : public QWidget {
public:
    struct Slot {
        QWidget* place;
        QLabel* sign;
        ElidedLabel* name;
        QLabel* timing;
        QToolButton* chat;
        QToolButton* abort;
    };

    explicit Window(ConnectionStatus& owner)
        : QWidget(nullptr, kFlags), inertPeriod(this), m_owner(owner)
    {
        ui.setupUi(this);
        Logo::setWindowIcon(*this);
        rows = {{{ui.slot, ui.sessionSign, ui.ControlUserName, ui.timing, ui.ChatButton, ui.abort},
                 {ui.slot2, ui.sessionSign2, ui.ControlUserName2, ui.timing2, ui.ChatButton2,
                  ui.abort2}}};
        for (QFrame* const card : {ui.card, ui.card2}) {
            card->setBackgroundRole(QPalette::Base);
        }
        connect(ui.abort, &QToolButton::clicked, this, [this] { m_owner.Abort(); });
        connect(ui.abort2, &QToolButton::clicked, this, [this] { m_owner.Abort2(); });
        connect(ui.ChatButton, &QToolButton::clicked, this, [this] { m_owner.ChatAction(); });
        connect(ui.ChatButton2, &QToolButton::clicked, this, [this] { m_owner.ChatAction2(); });
        showPictures();
    }

    void showPictures()
    {
        Logo::showBundled(*ui.logo);
        for (const Slot& slot : rows) {
            slot.sign->setPixmap(picture(u"appIcon-22-session"_s, *slot.sign));
            slot.chat->setIcon(BundleImages::icon(u"chat"_s).value_or(QIcon()));
            slot.abort->setIcon(BundleImages::icon(u"abort"_s).value_or(QIcon()));
        }
    }

    Ui::ConnectionStatus ui;
    std::array<Slot, kSlots> rows;
    InertPeriod inertPeriod;

protected:
    bool event(QEvent* event) override
    {
        const bool result = QWidget::event(event);
        switch (event->type()) {
        case QEvent::Show:
            // The frame, which counts for the place, is there when the window is on the screen.
            windowHandle()->installEventFilter(this);
            m_isToBePlaced = true;
            break;
        case QEvent::Resize:
            m_isToBePlaced = true;
            break;
        case QEvent::PaletteChange:
            Logo::followAppearance(*ui.logo);
            break;
        case QEvent::WindowStateChange:
            // What was left undone while it was minimised.
            if (m_owner.isVisible()) {
                m_owner.config();
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
        return QWidget::eventFilter(watched, event);
    }

private:
    ConnectionStatus& m_owner;
    bool m_isToBePlaced = true;
};

ConnectionStatus::ConnectionStatus() = default;

ConnectionStatus::~ConnectionStatus() = default;

bool ConnectionStatus::isVisible() const
{
    return m_window && m_window->isVisible() && !m_window->isMinimized();
}

void ConnectionStatus::present()
{
    Window& shown = window();
    setPosition();
    WindowActivation::present(&shown);
    inSession();
    inSession2();
}

void ConnectionStatus::presentByService()
{
    if (!window().isActiveWindow()) {
        window().inertPeriod.begin(InertPeriod::Inputs::Keyboard);
    }
    present();
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
    if (const auto labels = getLanguageLabel()) {
        translate(labels->info(AppDelegate::language));
    }
    for (const Window::Slot& slot : m_window->rows) {
        slot.timing->clear();
    }
    Logo::refresh(*m_window->ui.logo, logoChanged);
    resizeWindow(0);
}

void ConnectionStatus::translate(const JsonData::Info& data)
{
    ready = data.Connection.ready;
    no_gateway = data.Connection.no_gateway;
    account_invalid = data.Connection.account_invalid;
    if (!m_window) {
        return;
    }
    m_window->setWindowTitle(u"vantory - "_s + data.Connection.conn_status_title);
    for (const Window::Slot& slot : m_window->rows) {
        nameButton(slot.abort, data.Connection.abort_connection_label);
        nameButton(slot.chat, data.Chat.chat);
    }
}

void ConnectionStatus::setPosition()
{
    // Moving or resizing a minimised window would bring it back.
    if (m_window && !m_window->isMinimized() && m_window->screen() != nullptr) {
        const int screenWidth = m_window->screen()->geometry().width();
        m_window->move(screenWidth - m_window->frameGeometry().width(), 0);
    }
}

void ConnectionStatus::resizeWindow(qsizetype sessionNumber)
{
    if (m_window && !m_window->isMinimized()) {
        const bool isFull = sessionNumber < 0 || sessionNumber > kSlots;
        const qsizetype shown = isFull ? kSlots : sessionNumber;
        m_window->setFixedSize(width, height - static_cast<int>(kSlots - shown) * kSlotHeight);
        // A slot below the window's edge must not be reached by the keyboard either.
        for (qsizetype slot = 0; slot < kSlots; ++slot) {
            m_window->rows.at(static_cast<std::size_t>(slot)).place->setVisible(slot < shown);
        }
    }
    setPosition();
}

void ConnectionStatus::refresh(bool check_status)
{
    if (check_status) {
        AppDelegate::send(Protocol::requestConnectionsStatus());
    }
    if (const auto labels = getLanguageLabel()) {
        translate(labels->info(AppDelegate::language));
    }
    if (m_window) {
        Logo::refresh(*m_window->ui.logo, logoChanged);
    }
}

void ConnectionStatus::setConnection(const ConnectionInformation& sessionInfo)
{
    const bool isListed =
        std::any_of(sessions.cbegin(), sessions.cend(), [&](const ConnectionInformation& listed) {
            return listed.session == sessionInfo.session;
        });
    if (!isListed) {
        sessions.append(sessionInfo);
    }
}

void ConnectionStatus::resetConnection(qint64 session)
{
    const auto found = std::find_if(
        sessions.cbegin(), sessions.cend(),
        [session](const ConnectionInformation& listed) { return listed.session == session; });
    if (found != sessions.cend()) {
        sessions.erase(found);
    }
}

void ConnectionStatus::wakeUp()
{
    MainQueue::post([self = QPointer(this)] {
        // A window that was hidden meanwhile stays hidden.
        if (self && self->m_window && self->m_window->isVisible() &&
            self->m_window->isMinimized()) {
            self->m_window->inertPeriod.begin(InertPeriod::Inputs::Keyboard);
            self->m_window->showNormal();
        }
    });
}

void ConnectionStatus::config()
{
    MainQueue::assertMainThread();
    resizeWindow(sessions.size());
    showState();
    if (AppDelegate::sessions.isEmpty()) {
        stopClock(0);
        stopClock(1);
    } else if (!sessions.isEmpty()) {
        startClock(0);
        if (sessions.size() >= kSlots) {
            startClock(1);
        } else {
            stopClock(1);
        }
    }
    showSlots();
}

void ConnectionStatus::showState()
{
    if (!m_window) {
        return;
    }
    const bool isLinked = AppDelegate::gatewayConnectionStatus;
    QLabel& sign = *m_window->ui.gateway_status;
    sign.setPixmap(picture(isLinked ? u"status-available"_s : u"status-unavailable"_s, sign));
    sign.setAccessibleName(isLinked ? ready : no_gateway);
    if (AppDelegate::showConnectionDetail) {
        sign.setToolTip(ShownText::toolTip(gateway_name));
    }
    m_window->ui.agentDesc->setText(stateText());
}

QString ConnectionStatus::stateText() const
{
    if (AppDelegate::gatewayConnectionStatus) {
        return ready;
    }
    if (!accountIsValid) {
        return {};
    }
    return *accountIsValid ? no_gateway : account_invalid;
}

void ConnectionStatus::showSlots()
{
    if (!m_window) {
        return;
    }
    const bool isEmpty = AppDelegate::sessions.isEmpty();
    for (qsizetype slot = 0; slot < kSlots; ++slot) {
        const auto index = static_cast<std::size_t>(slot);
        const Window::Slot& row = m_window->rows.at(index);
        const bool isTaken = !isEmpty && slot < sessions.size();
        row.name->setFullText(isTaken ? sessions.at(slot).controlName : QString());
        if (!isEmpty) {
            // Who is managed centrally may end sessions; both buttons go together.
            row.abort->setVisible(AppDelegate::isManaged);
        }
        // The next session never shows the last one's time.
        const auto session = isTaken ? std::optional(sessions.at(slot).session) : std::nullopt;
        if (std::exchange(m_clockSessions.at(index), session) != session) {
            row.timing->clear();
            tick(slot);
        }
    }
}

bool ConnectionStatus::isAnyClockRunning() const
{
    return sessionTimer || sessionTimer2;
}

QPointer<QTimer>& ConnectionStatus::clock(qsizetype slot)
{
    return slot == 0 ? sessionTimer : sessionTimer2;
}

void ConnectionStatus::startClock(qsizetype slot)
{
    if (clock(slot)) {
        return; // goes on running
    }
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this,
            slot == 0 ? &ConnectionStatus::inSession : &ConnectionStatus::inSession2);
    timer->start(Intervals::current().clock);
    clock(slot) = timer;
}

void ConnectionStatus::stopClock(qsizetype slot)
{
    delete clock(slot).data();
}

void ConnectionStatus::inSession()
{
    tick(0);
}

void ConnectionStatus::inSession2()
{
    tick(1);
}

void ConnectionStatus::tick(qsizetype slot)
{
    if (!isVisible() || AppDelegate::sessions.size() <= slot) {
        return;
    }
    const auto start = AppDelegate::sessions.at(slot).sessionDate;
    if (!start) {
        return;
    }
    if (const auto text = elapsedText(sessionDateNow() - *start)) {
        m_window->rows.at(static_cast<std::size_t>(slot)).timing->setText(*text);
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

// The person sees the session gone before the service is told, and without waiting for it.
void ConnectionStatus::abortSession(qsizetype slot)
{
    stopClock(slot);
    if (AppDelegate::sessions.size() <= slot) {
        return;
    }
    const qint64 session = AppDelegate::sessions.at(slot).session;
    AppDelegate::removeConnectionSession(session);
    resetConnection(session);
    AppDelegate::updateSystemTrayIcon();
    config();
    for (ChatController* const chat : AppDelegate::chats) {
        if (chat->session == session) {
            chat->end();
            AppDelegate::send(Protocol::closeChat(chat->token));
        }
    }
    AppDelegate::send(Protocol::disconnectSession(session));
}

void ConnectionStatus::ChatAction()
{
    requestChat(0);
}

void ConnectionStatus::ChatAction2()
{
    requestChat(1);
}

void ConnectionStatus::requestChat(qsizetype slot)
{
    if (AppDelegate::sessions.size() > slot) {
        AppDelegate::send(Protocol::chatRequest(AppDelegate::sessions.at(slot).session));
    }
}

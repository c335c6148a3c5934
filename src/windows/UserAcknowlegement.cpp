#include "windows/UserAcknowlegement.h"

#include "platform/desktop/WindowActivation.h"
#include "ui_UserAcknowlegement.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"

#include <QKeyEvent>
#include <QScreen>
#include <QWindow>

#include <utility>

using namespace Qt::StringLiterals;

// Has no button to close it, where the window manager can leave it out: it would do nothing.
UserAcknowledgement::UserAcknowledgement(LabelSource labels)
    : AgentWindow(Qt::Dialog, {}, std::move(labels))
{}

void UserAcknowledgement::awakeFromNib()
{
    setUp();
    m_ui->user_ack_desc->setDescription(m_ui->user_ack_desc->text()); // until there are labels
    inputGuard.connectButton(m_ui->declineButton, [this] { declineAction(); });
    inputGuard.connectButton(m_ui->acceptButton, [this] { acceptAction(); });
    WindowRules::setFrontWindow(this);
}

void UserAcknowledgement::ask(qint64 askingSession, const QString& server,
                              const QString& controlName)
{
    if (!m_ui) {
        awakeFromNib();
    }
    m_ui->user_ack_desc->setFocus(Qt::OtherFocusReason);
    // The service may ask the same again.
    replacesAnother = isVisible() && (replacesAnother || session != askingSession ||
                                      controlUserName != controlName);
    m_ui->replaced->setVisible(replacesAnother);
    session = askingSession;
    serverName = server;
    controlUserName = controlName;
    translateAnew();
    // Also without labels: the names of another request must not stay.
    m_ui->user_ack_desc->setNames(serverName, controlUserName);
    const bool isWhole = screen() != nullptr && screen()->geometry().contains(frameGeometry());
    if (!isVisible() || !isWhole) {
        adjustSize();
        move(Placement::centre(Placement::availableArea(), size()));
    }
    // What was pressed for another question counts for nothing.
    presentByService(InputGuard::Inputs::KeyboardAndMouse);
    Q_EMIT asked();
}

void UserAcknowledgement::present()
{
    if (isVisible()) {
        AgentWindow::present();
    }
}

void UserAcknowledgement::withdraw()
{
    const bool isShown = isVisible();
    hide();
    if (isShown) {
        Q_EMIT withdrawn();
    }
}

void UserAcknowledgement::translate(const JsonData::Info& labels)
{
    setWindowTitle(u"vantory - "_s + labels.UserAck.user_ack_title);
    // No mnemonics: Alt and a letter that was meant for another program must not answer.
    m_ui->declineButton->setText(Mnemonics::plain(labels.Common.reject));
    m_ui->acceptButton->setText(Mnemonics::plain(labels.Common.accept));
    m_ui->user_ack_desc->setDescription(labels.UserAck.user_ack_desc);
    m_ui->replaced->setText(labels.UserAck.replaced);
}

QString UserAcknowledgement::question() const
{
    return m_ui->user_ack_desc->text();
}

void UserAcknowledgement::answer(bool isAccepted)
{
    Q_EMIT answered(session, isAccepted);
    hide();
    session = 0;
    serverName.clear();
}

// Some window managers minimise a window that says that it can't be minimised.
void UserAcknowledgement::changeEvent(QEvent* event)
{
    AgentWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange && isMinimized()) {
        inputGuard.begin(InputGuard::Inputs::KeyboardAndMouse);
        setWindowState(windowState() & ~Qt::WindowMinimized);
    }
}

// It may be shown anew to lie in front, under the pointer.
void UserAcknowledgement::showEvent(QShowEvent* event)
{
    AgentWindow::showEvent(event);
    connect(windowHandle(), &QWindow::windowStateChanged, this, &UserAcknowledgement::comeBack,
            Qt::UniqueConnection);
    inputGuard.begin(InputGuard::Inputs::KeyboardAndMouse);
}

// Native Wayland brings no window back, and the widget does not hear that it went.
void UserAcknowledgement::comeBack(Qt::WindowState state)
{
    if (state != Qt::WindowMinimized) {
        return;
    }
    const auto showAnew = [this] {
        if (isVisible()) {
            windowHandle()->setWindowState(Qt::WindowNoState);
            WindowActivation::showAnew(this, nullptr);
        }
    };
    QMetaObject::invokeMethod(this, showAnew, Qt::QueuedConnection);
}

// There is no default button; Return presses the one that the user has gone to with the Tab key.
void UserAcknowledgement::keyPressEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
        AgentWindow::keyPressEvent(event);
        return;
    }
    auto* const button = qobject_cast<QPushButton*>(focusWidget());
    if (button != nullptr && !event->isAutoRepeat()) {
        button->click();
    }
}

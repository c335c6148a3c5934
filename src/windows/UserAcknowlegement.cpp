#include "windows/UserAcknowlegement.h"

#include "platform/desktop/WindowActivation.h"
#include "ui_UserAcknowlegement.h"
#include "window_kit/AgentWindow.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Pictures.h"
#include "window_kit/Placement.h"

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWindow>

#include <functional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Releases a button that is being pressed, without a click.
void releaseWithoutClick(QAbstractButton& button)
{
    button.setDown(false);
    const QPointF outside(-1, -1);
    QMouseEvent release(QEvent::MouseButtonRelease, outside, button.mapToGlobal(outside),
                        Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&button, &release);
}

} // namespace

// Has no button to close it, where the window manager can leave it out: it would do nothing.
class UserAcknowledgement::Window : public AgentWindow<QDialog> {
public:
    explicit Window(UserAcknowledgement& owner) : AgentWindow(Qt::Dialog, {})
    {
        ui.setupUi(this);
        Pictures::show(*ui.picture, u"acknowledge"_s);
        Pictures::show(*ui.declineButton, u"stop"_s);
        Pictures::show(*ui.acceptButton, u"status-available"_s);
        answerBy(*ui.declineButton, [&owner] { owner.declineAction(); });
        answerBy(*ui.acceptButton, [&owner] { owner.acceptAction(); });
        WindowRules::setFrontWindow(this);
    }

    // Begins a question. A press that began before it counts for nothing: it was meant for another
    // question.
    void beginQuestion()
    {
        ++m_question;
        for (QPushButton* const button : {ui.declineButton, ui.acceptButton}) {
            releaseWithoutClick(*button);
        }
        ui.user_ack_desc->setFocus(Qt::OtherFocusReason);
    }

    // For the texts that it shows now.
    void place()
    {
        if (!isVisible() || !Placement::isOnOneScreen(*this)) {
            adjustSize();
            move(Placement::centre(Placement::availableArea(), size()));
        }
    }

    // Escape and the title bar.
    void reject() override {}

    Ui::UserAcknowlegement ui;

protected:
    // Some window managers minimise a window that says that it can't be minimised.
    void changeEvent(QEvent* event) override
    {
        AgentWindow::changeEvent(event);
        if (event->type() == QEvent::WindowStateChange && isMinimized()) {
            inputGuard.begin(InputGuard::Inputs::KeyboardAndMouse);
            setWindowState(windowState() & ~Qt::WindowMinimized);
        }
    }

    // It may be shown anew to lie in front, under the pointer.
    void showEvent(QShowEvent* event) override
    {
        AgentWindow::showEvent(event);
        connect(windowHandle(), &QWindow::windowStateChanged, this, &Window::comeBack,
                Qt::UniqueConnection);
        inputGuard.begin(InputGuard::Inputs::KeyboardAndMouse);
    }

    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
            AgentWindow::keyPressEvent(event);
            return;
        }
        // There is no default button; Return presses the one that the person has gone to with the
        // Tab key.
        auto* const button = qobject_cast<QPushButton*>(focusWidget());
        if (button != nullptr && !event->isAutoRepeat()) {
            button->click();
        }
    }

private:
    // Native Wayland brings no window back, and the widget does not hear that it went.
    void comeBack(Qt::WindowState state)
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

    void answerBy(QPushButton& button, const std::function<void()>& action)
    {
        connect(&button, &QPushButton::pressed, this, [this] { m_pressedFor = m_question; });
        // A screen reader's press clicks a moment later; by then the question may be another.
        connectButton(&button, [this, action] {
            if (isVisible() && m_pressedFor == m_question) {
                action();
            }
        });
    }

    quint64 m_question = 0; // counts what was asked
    quint64 m_pressedFor = 0;
};

UserAcknowledgement::UserAcknowledgement(LabelSource labels) : m_labels(std::move(labels)) {}

UserAcknowledgement::~UserAcknowledgement() = default;

void UserAcknowledgement::ask(qint64 askingSession, const QString& server,
                              const QString& controlName)
{
    window().beginQuestion();
    replacesAnother = m_window->isVisible();
    m_window->ui.replaced->setVisible(replacesAnother);
    session = askingSession;
    serverName = server;
    controlUserName = controlName;
    // Also without labels: the names of another request must not stay.
    m_window->ui.user_ack_desc->setNames(serverName, controlUserName);
    if (const auto labels = m_labels()) {
        translate(*labels);
    }
    m_window->place();
    m_window->presentByService(InputGuard::Inputs::KeyboardAndMouse);
}

void UserAcknowledgement::present()
{
    if (m_window && m_window->isVisible()) {
        m_window->present();
    }
}

void UserAcknowledgement::hide()
{
    if (m_window) {
        m_window->hide();
    }
}

UserAcknowledgement::Window& UserAcknowledgement::window()
{
    if (!m_window) {
        m_window = std::make_unique<Window>(*this);
        AcknowledgementText& question = *m_window->ui.user_ack_desc;
        question.setDescription(question.text()); // until there are labels
    }
    return *m_window;
}

void UserAcknowledgement::translate(const JsonData::Info& data)
{
    Window& shown = window();
    shown.setWindowTitle(u"vantory - "_s + data.UserAck.user_ack_title);
    // Without letters: a chord that was meant for another program answers nothing.
    shown.ui.declineButton->setText(Mnemonics::plain(data.Common.reject));
    shown.ui.acceptButton->setText(Mnemonics::plain(data.Common.accept));
    shown.ui.user_ack_desc->setDescription(data.UserAck.user_ack_desc);
    shown.ui.user_ack_desc->setNames(serverName, controlUserName);
    shown.ui.replaced->setText(data.UserAck.replaced);
}

QString UserAcknowledgement::question() const
{
    return m_window ? m_window->ui.user_ack_desc->text() : QString();
}

bool UserAcknowledgement::isVisible() const
{
    return m_window && m_window->isVisible();
}

void UserAcknowledgement::acceptAction()
{
    answer(true);
}

void UserAcknowledgement::declineAction()
{
    answer(false);
}

void UserAcknowledgement::answer(bool isAccepted)
{
    Q_EMIT answered(session, isAccepted);
    hide();
    session = 0;
    serverName.clear();
}

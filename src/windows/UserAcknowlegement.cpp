#include "windows/UserAcknowlegement.h"

#include <functional>

#include <QApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QMouseEvent>

#include "agent_core/AppDelegate.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/WindowActivation.h"
#include "service_link/Protocol.h"
#include "ui_UserAcknowlegement.h"
#include "window_kit/InertPeriod.h"
#include "window_kit/Logo.h"
#include "window_kit/Placement.h"

using namespace Qt::StringLiterals;

namespace {

// No button to close it, where the window manager can leave it out: it would do nothing.
constexpr Qt::WindowFlags kFlags =
    Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowStaysOnTopHint;

// Lets go of a button that is being pressed, without a click.
void letGo(QAbstractButton& button)
{
    button.setDown(false);
    const QPointF outside(-1, -1);
    QMouseEvent release(QEvent::MouseButtonRelease, outside, button.mapToGlobal(outside),
                        Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&button, &release);
}

} // namespace

class UserAcknowledgement::Window : public QDialog {
public:
    explicit Window(UserAcknowledgement& owner) : QDialog(nullptr, kFlags), inertPeriod(this)
    {
        ui.setupUi(this);
        Logo::setWindowIcon(*this);
        if (const auto picture = BundleImages::icon(u"acknowledge"_s)) {
            ui.picture->setPixmap(picture->pixmap(ui.picture->size(), devicePixelRatioF()));
        }
        ui.declineButton->setIcon(BundleImages::icon(u"stop"_s).value_or(QIcon()));
        ui.acceptButton->setIcon(BundleImages::icon(u"status-available"_s).value_or(QIcon()));
        answerBy(*ui.declineButton, [&owner] { owner.declineAction(); });
        answerBy(*ui.acceptButton, [&owner] { owner.acceptAction(); });
    }

    // What is asked may have changed under the person's hands: whatever they were about to press
    // was meant for something else.
    void startAnew()
    {
        ++m_question;
        inertPeriod.begin(InertPeriod::Inputs::KeyboardAndMouse);
        for (QPushButton* const button : {ui.declineButton, ui.acceptButton}) {
            letGo(*button);
        }
        ui.user_ack_desc->setFocus(Qt::OtherFocusReason);
        if (!isVisible() || !Placement::isOnOneScreen(*this)) {
            adjustSize();
            move(Placement::centre(Placement::availableArea(), size()));
        }
    }

    // Escape and the title bar.
    void reject() override {}

    Ui::UserAcknowlegement ui;
    InertPeriod inertPeriod;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) {
            QDialog::keyPressEvent(event);
            return;
        }
        // There is no default button; one that the person has gone to (by the Tab key, not by a
        // click that was not heard) may be pressed by Return.
        auto* const button = qobject_cast<QPushButton*>(focusWidget());
        if (button != nullptr && !event->isAutoRepeat()) {
            button->click();
        }
    }

private:
    void answerBy(QPushButton& button, const std::function<void()>& action)
    {
        connect(&button, &QPushButton::pressed, this, [this] { m_pressedFor = m_question; });
        // A screen reader's press clicks a moment later; by then the question may be another.
        connect(&button, &QPushButton::clicked, this, [this, action] {
            if (isVisible() && m_pressedFor == m_question) {
                action();
            }
        });
    }

    quint64 m_question = 0; // counts what was asked
    quint64 m_pressedFor = 0;
};

UserAcknowledgement::UserAcknowledgement() = default;

UserAcknowledgement::~UserAcknowledgement() = default;

bool UserAcknowledgement::isVisible() const
{
    return m_window && m_window->isVisible();
}

void UserAcknowledgement::present()
{
    Window& shown = window();
    shown.startAnew();
    WindowActivation::present(&shown);
}

void UserAcknowledgement::stayInFront()
{
    if (m_window && m_window->isVisible()) {
        m_window->raise();
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
        windowDidLoad();
    }
    return *m_window;
}

void UserAcknowledgement::windowDidLoad()
{
    m_window->ui.user_ack_desc->setDescription(m_window->ui.user_ack_desc->text());
    if (const auto labels = getLanguageLabel()) {
        translate(labels->info(AppDelegate::language));
    }
}

void UserAcknowledgement::translate(const JsonData::Info& data)
{
    Window& shown = window();
    shown.setWindowTitle(u"vantory - "_s + data.UserAck.user_ack_title);
    shown.ui.declineButton->setText(data.Common.reject);
    shown.ui.acceptButton->setText(data.Common.accept);
    shown.ui.user_ack_desc->setDescription(data.UserAck.user_ack_desc);
    showNames();
}

void UserAcknowledgement::showNames()
{
    window().ui.user_ack_desc->setNames(serverName, controlUserName);
}

void UserAcknowledgement::acceptAction()
{
    answer(Protocol::acceptConnection(session));
}

void UserAcknowledgement::declineAction()
{
    answer(Protocol::declineConnection(session));
}

void UserAcknowledgement::answer(const QString& command)
{
    AppDelegate::send(command);
    hide();
    session = 0;
    serverName.clear();
}

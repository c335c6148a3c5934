#include "windows/SecurityAccess.h"

#include <initializer_list>
#include <utility>

#include <QDialog>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QWindow>

#include "agent_core/AppDelegate.h"
#include "platform/accounts/LocalAccounts.h"
#include "platform/desktop/BundleImages.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/processes/SecretText.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"
#include "ui_SecurityAccess.h"
#include "window_kit/Logo.h"

using namespace Qt::StringLiterals;

struct SecurityAccess::Check {
    QString username;
    QString password;
    std::function<void(bool)> checked;

    ~Check() { SecretText::wipe(password); }
};

class SecurityAccess::Window : public QDialog {
public:
    explicit Window(SecurityAccess& owner)
        : QDialog(nullptr, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                               Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint |
                               Qt::WindowStaysOnTopHint),
          m_owner(owner)
    {
        ui.setupUi(this);
        Logo::setWindowIcon(*this);
        showSign(u"lock-32"_s);
        connect(ui.applyButton, &QPushButton::clicked, this, [this] { m_owner.applyAction(); });
        connect(ui.cancelButton, &QPushButton::clicked, this, [this] { m_owner.cancelAction(); });
    }

    void showSign(const QString& picture)
    {
        const auto icon = BundleImages::icon(picture);
        ui.sign->setPixmap(icon ? icon->pixmap(ui.sign->size(), devicePixelRatioF()) : QPixmap());
    }

    void clearPassword()
    {
        // The field's own characters, before it lets go of them.
        QString typed = ui.password->text();
        SecretText::wipe(typed);
        // And what it remembers to undo, letter by letter: dropping that keeps the room, which new
        // letters then overwrite.
        constexpr qsizetype kFiller = 512;
        const QSignalBlocker blocker(ui.password);
        ui.password->setText(QString());
        ui.password->insert(QString(kFiller, u'*'));
        ui.password->setText(QString());
    }

    void clearFields()
    {
        ui.username->clear();
        clearPassword();
    }

    void setBusy(bool isBusy)
    {
        for (QWidget* const widget : std::initializer_list<QWidget*>{
                 ui.username, ui.password, ui.cancelButton, ui.applyButton}) {
            widget->setEnabled(!isBusy);
        }
        if (isBusy) {
            setCursor(Qt::BusyCursor);
        } else {
            unsetCursor();
        }
    }

    void reject() override { m_owner.cancelAction(); }

    Ui::SecurityAccess ui;

private:
    SecurityAccess& m_owner;
};

SecurityAccess::SecurityAccess(std::function<void()> enableSettings,
                               std::function<void()> disableSettings)
    : m_enableSettings(std::move(enableSettings)), m_disableSettings(std::move(disableSettings))
{}

SecurityAccess::~SecurityAccess() = default;

SecurityAccess::Window& SecurityAccess::window()
{
    if (!m_window) {
        m_window = std::make_unique<Window>(*this);
    }
    return *m_window;
}

void SecurityAccess::refresh()
{
    if (m_check) {
        return; // it empties them itself
    }
    if (const auto labels = getLanguageLabel()) {
        translate(labels->info(AppDelegate::language));
    }
    window().clearFields();
    window().showSign(u"lock-32"_s);
}

void SecurityAccess::translate(const JsonData::Info& data)
{
    Ui::SecurityAccess& ui = window().ui;
    window().setWindowTitle(u"vantory"_s);
    ui.cancelButton->setText(data.Common.cancel);
    ui.applyButton->setText(data.Common.apply);
    ui.username->setPlaceholderText(data.Security.username);
    ui.username->setAccessibleName(data.Security.username);
    ui.password->setPlaceholderText(data.Security.password);
    ui.password->setAccessibleName(data.Security.password);
}

void SecurityAccess::present(QWidget* settings)
{
    Window& shown = window();
    if (!shown.isVisible()) {
        shown.adjustSize();
        const QRect behind = settings->frameGeometry();
        shown.move(behind.center() - shown.rect().center());
        shown.winId(); // so that there is a window to set in front of the other
        shown.windowHandle()->setTransientParent(settings->windowHandle());
        shown.ui.username->setFocus();
    }
    WindowActivation::present(&shown);
}

void SecurityAccess::check(std::function<void(bool)> checked)
{
    MainQueue::assertMainThread();
    if (m_check) {
        return;
    }
    Ui::SecurityAccess& ui = window().ui;
    m_check = std::make_shared<Check>();
    m_check->username = ui.username->text();
    m_check->password = SecretText::copy(ui.password->text());
    m_check->checked = std::move(checked);
    window().clearPassword();
    window().setBusy(true);
    Worker::run([self = QPointer(this), check = m_check] {
        const bool isRight = authenticateLocalAdminUser(check->username, check->password, false);
        MainQueue::post([self, check, isRight] {
            if (self && self->m_check == check && !AppDelegate::isTerminating()) {
                self->finishCheck(isRight);
            }
        });
    });
}

void SecurityAccess::finishCheck(bool isRight)
{
    const auto check = std::exchange(m_check, nullptr);
    window().setBusy(false);
    window().clearFields();
    status = isRight;
    if (isRight) {
        AppDelegate::user = check->username;
        SecretText::wipe(AppDelegate::pwd);
        AppDelegate::pwd = SecretText::copy(check->password);
        window().hide();
    } else {
        window().showSign(u"caution"_s);
        window().ui.username->setFocus();
    }
    check->checked(isRight);
}

void SecurityAccess::applyAction()
{
    check([this](bool isRight) { isRight ? m_enableSettings() : m_disableSettings(); });
}

void SecurityAccess::cancelAction()
{
    m_check = nullptr;
    if (m_window) {
        m_window->setBusy(false);
        m_window->clearFields();
        m_window->hide();
        m_window->ui.username->setFocus();
    }
}

bool SecurityAccess::authenticateLocalAdminUser(const QString& username, const QString& password,
                                                bool checkAdmin)
{
    return LocalAccounts::isPasswordRight(username, password) &&
           (!checkAdmin || LocalAccounts::isAdministrator(username));
}

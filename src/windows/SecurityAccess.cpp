#include "windows/SecurityAccess.h"

#include "platform/desktop/Announcements.h"
#include "platform/processes/SecretText.h"
#include "ui_SecurityAccess.h"
#include "window_kit/AgentWindow.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Pictures.h"

#include <QDialog>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QWindow>

#include <algorithm>
#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

class SecurityAccess::Window : public AgentWindow<QDialog> {
public:
    explicit Window(SecurityAccess& owner)
        : AgentWindow(Qt::Dialog, Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
          m_owner(owner)
    {
        ui.setupUi(this);
        showSign(u"lock-32"_s);
        setResults(englishFallback().Security.checking, englishFallback().Security.wrong);
        connect(ui.applyButton, &QPushButton::clicked, this, [this] { m_owner.applyAction(); });
        connect(ui.cancelButton, &QPushButton::clicked, this, [this] { m_owner.cancelAction(); });
    }

    void showSign(const QString& picture) { Pictures::show(*ui.sign, picture); }

    void clearPassword()
    {
        // Overwrites the field's own characters, which setText() would only release.
        QString typed = ui.password->text();
        SecretText::wipe(typed);
        // Overwrites the undo history, which holds each letter: setText() clears it but keeps its
        // memory, which the next letters fill.
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
        ui.result->setText(isBusy ? m_checking : QString());
        if (isBusy) {
            ui.result->setFocus(); // else a second Return or a blank would press Cancel
        }
        for (QWidget* const widget :
             std::initializer_list<QWidget*>{ui.username, ui.password, ui.applyButton}) {
            widget->setEnabled(!isBusy);
        }
        if (isBusy) {
            setCursor(Qt::BusyCursor);
        } else {
            unsetCursor();
        }
    }

    // The place for the longer text is kept free: nothing moves when one comes.
    void setResults(const QString& checking, const QString& wrong)
    {
        m_checking = checking;
        m_wrong = wrong;
        const QFontMetrics metrics = ui.result->fontMetrics();
        ui.result->setMinimumSize(
            std::max(metrics.horizontalAdvance(checking), metrics.horizontalAdvance(wrong)),
            metrics.height());
    }

    void showWrong()
    {
        showSign(u"caution"_s);
        ui.result->setText(m_wrong);
        Announcements::say(m_wrong, Announcements::About::Credentials);
        ui.username->setFocus();
    }

    void reject() override { m_owner.cancelAction(); }

    Ui::SecurityAccess ui;

private:
    SecurityAccess& m_owner;
    QString m_checking;
    QString m_wrong;
};

SecurityAccess::SecurityAccess(LabelSource labels) : m_labels(std::move(labels)) {}

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
    if (m_isChecking) {
        return; // finishCheck() empties them
    }
    if (const auto labels = m_labels()) {
        translate(*labels);
    }
    window().clearFields();
    window().showSign(u"lock-32"_s);
    window().ui.result->clear();
}

void SecurityAccess::translate(const JsonData::Info& data)
{
    Ui::SecurityAccess& ui = window().ui;
    window().setWindowTitle(u"vantory"_s);
    Mnemonics::setTexts(
        {{ui.cancelButton, data.Common.cancel}, {ui.applyButton, data.Common.apply}});
    ui.username->setPlaceholderText(data.Security.username);
    ui.username->setAccessibleName(data.Security.username);
    ui.password->setPlaceholderText(data.Security.password);
    ui.password->setAccessibleName(data.Security.password);
    window().setResults(data.Security.checking, data.Security.wrong);
}

void SecurityAccess::present(QWidget* settings)
{
    Window& shown = window();
    if (!shown.isVisible()) {
        shown.adjustSize();
        const QRect behind = settings->frameGeometry();
        shown.move(behind.center() - shown.rect().center());
        shown.winId(); // makes the native window, which is set in front of the other
        shown.windowHandle()->setTransientParent(settings->windowHandle());
        shown.ui.username->setFocus();
    }
    shown.present();
}

bool SecurityAccess::isVisible() const
{
    return m_window && m_window->isVisible();
}

void SecurityAccess::check()
{
    if (m_isChecking) {
        return;
    }
    const Ui::SecurityAccess& ui = window().ui;
    const QString username = ui.username->text();
    QString password = SecretText::copy(ui.password->text());
    m_isChecking = true;
    Announcements::withdraw(Announcements::About::Credentials);
    window().clearPassword();
    window().setBusy(true);
    Q_EMIT credentialsEntered(username, password);
    SecretText::wipe(password);
}

void SecurityAccess::finishCheck(bool isRight)
{
    m_isChecking = false;
    status = isRight;
    window().setBusy(false);
    window().clearFields();
    if (isRight) {
        window().hide();
    } else {
        window().showWrong();
    }
}

void SecurityAccess::applyAction()
{
    check();
}

void SecurityAccess::cancelAction()
{
    m_isChecking = false;
    Announcements::withdraw(Announcements::About::Credentials);
    Q_EMIT cancelled();
    if (m_window) {
        m_window->setBusy(false);
        m_window->clearFields();
        m_window->hide();
        m_window->ui.username->setFocus();
    }
}

#include "windows/SecurityAccess.h"

#include "platform/desktop/Announcements.h"
#include "platform/processes/SecretText.h"
#include "ui_SecurityAccess.h"
#include "window_kit/Mnemonics.h"

#include <QSignalBlocker>
#include <QWindow>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

SecurityAccess::SecurityAccess(LabelSource labels)
    : AgentWindow(Qt::Dialog, kUsualButtons, std::move(labels))
{
    setUp();
    connect(m_ui->applyButton, &QPushButton::clicked, this, &SecurityAccess::applyAction);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &SecurityAccess::cancelAction);
}

void SecurityAccess::refresh()
{
    if (m_isChecking) {
        return; // finishCheck() empties the fields
    }
    translateAnew();
    setChecking(false);
    Pictures::show(*m_ui->sign, u"lock-32"_s);
    // The place for the longer text is kept free: nothing moves when one comes.
    const QFontMetrics metrics = m_ui->result->fontMetrics();
    m_ui->result->setMinimumSize(std::max(metrics.horizontalAdvance(m_texts.Security.checking),
                                          metrics.horizontalAdvance(m_texts.Security.wrong)),
                                 metrics.height());
}

void SecurityAccess::translate(const JsonData::Info& labels)
{
    Mnemonics::setTexts(
        {{m_ui->cancelButton, labels.Common.cancel}, {m_ui->applyButton, labels.Common.apply}});
    m_ui->username->setPlaceholderText(labels.Security.username);
    m_ui->username->setAccessibleName(labels.Security.username);
    m_ui->password->setPlaceholderText(labels.Security.password);
    m_ui->password->setAccessibleName(labels.Security.password);
    m_texts = labels;
}

void SecurityAccess::present(QWidget* settings)
{
    if (!isVisible()) {
        adjustSize();
        move(settings->frameGeometry().center() - rect().center());
        winId(); // makes the native window, which is set in front of the other
        windowHandle()->setTransientParent(settings->windowHandle());
        m_ui->username->setFocus();
    }
    AgentWindow::present();
}

void SecurityAccess::clearPassword()
{
    // Overwrites the field's own characters, which setText() would only release.
    QString typed = m_ui->password->text();
    SecretText::wipe(typed);
    // Overwrites the undo history, which holds each letter: setText() clears it but keeps its
    // memory, which the next letters fill.
    constexpr qsizetype kFiller = 512;
    const QSignalBlocker blocker(m_ui->password);
    m_ui->password->setText(QString());
    m_ui->password->insert(QString(kFiller, u'*'));
    m_ui->password->setText(QString());
}

void SecurityAccess::setChecking(bool isChecking)
{
    m_isChecking = isChecking;
    clearPassword();
    m_ui->result->setText(isChecking ? m_texts.Security.checking : QString());
    if (isChecking) {
        m_ui->result->setFocus(); // else a second Return or a blank would press Cancel
    } else {
        m_ui->username->clear();
    }
    setCursor(isChecking ? Qt::BusyCursor : Qt::ArrowCursor);
    m_ui->username->setEnabled(!isChecking);
    m_ui->password->setEnabled(!isChecking);
    m_ui->applyButton->setEnabled(!isChecking);
}

void SecurityAccess::check()
{
    if (m_isChecking) {
        return;
    }
    QString password = SecretText::copy(m_ui->password->text());
    Announcements::withdraw(Announcements::About::Credentials);
    setChecking(true);
    Q_EMIT credentialsEntered(m_ui->username->text(), password);
    SecretText::wipe(password);
}

void SecurityAccess::finishCheck(bool isRight)
{
    status = isRight;
    setChecking(false);
    if (isRight) {
        hide();
        return;
    }
    Pictures::show(*m_ui->sign, u"caution"_s);
    m_ui->result->setText(m_texts.Security.wrong);
    Announcements::say(m_texts.Security.wrong, Announcements::About::Credentials);
    m_ui->username->setFocus();
}

void SecurityAccess::cancelAction()
{
    Announcements::withdraw(Announcements::About::Credentials);
    Q_EMIT cancelled();
    setChecking(false);
    hide();
    m_ui->username->setFocus();
}

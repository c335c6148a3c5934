#include "windows/SettingsWindow.h"

#include "platform/desktop/Announcements.h"
#include "platform/desktop/BundleImages.h"
#include "ui_SettingsWindow.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/PushButton.h"

#include <QFocusEvent>
#include <QLabel>
#include <QLayout>
#include <QMessageBox>

#include <algorithm>
#include <initializer_list>

using namespace Qt::StringLiterals;

SettingsWindow::SettingsWindow(SettingsTexts texts)
    : AgentWindow(Qt::Window, kUsualButtons, {}), m_texts(std::move(texts))
{
    setUp();
    // Wide enough for a whole account identifier, and for the session code's row, so that nothing
    // moves when the mode hides it.
    m_ui->accountIdText->setMinimumWidth(fontMetrics().horizontalAdvance(QString(38, u'0')));
    for (QWidget* const widget : std::initializer_list<QWidget*>{
             m_ui->sessionCodeDesc, m_ui->sessionCodeText, m_ui->whyLocked}) {
        QSizePolicy policy = widget->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        widget->setSizePolicy(policy);
    }

    setWindowTitle(u"vantory - "_s + m_texts.labels.MainMenu.settings);
    m_ui->sessionCodeText->setAccessibleName(m_texts.labels.Settings.sessionCode);
    m_ui->accountIdText->setAccessibleName(m_texts.labels.Settings.accountId);
    m_ui->platformSelect->setAccessibleName(m_texts.labels.Settings.platform);
    setLocked(true);
    connect(m_ui->platformSelect, &QComboBox::textActivated, this, &SettingsWindow::sayRegion);
    m_ui->platformSelect->installEventFilter(this);
    connect(m_ui->managed, &QCheckBox::toggled, this, &SettingsWindow::modeChanged);
    inputGuard.connectButton(m_ui->lockButton, [this] { Q_EMIT lockPressed(); });
    inputGuard.connectButton(m_ui->applyButton, [this] { Q_EMIT applyPressed(); });
    inputGuard.connectButton(m_ui->cancelButton, [this] { reject(); });
}

// The toolkit tells readers the list's name only.
void SettingsWindow::sayRegion()
{
    Announcements::say(m_ui->platformSelect->currentText(), Announcements::About::Value);
}

bool SettingsWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_ui->platformSelect && event->type() == QEvent::FocusIn &&
        static_cast<QFocusEvent*>(event)->reason() != Qt::PopupFocusReason) {
        sayRegion();
    } else if (watched == m_ui->platformSelect && event->type() == QEvent::FocusOut) {
        Announcements::withdraw(Announcements::About::Value);
    }
    return AgentWindow::eventFilter(watched, event);
}

BackendSettings SettingsWindow::entries() const
{
    // The first region, "production", is stored as an empty text.
    const QComboBox& region = *m_ui->platformSelect;
    return {m_ui->managed->isChecked(), m_ui->sessionCodeText->text(), m_ui->accountIdText->text(),
            region.currentIndex() > 0 ? region.currentText() : QString()};
}

void SettingsWindow::showSettings(const BackendSettings& settings)
{
    m_ui->managed->setChecked(settings.managed);
    m_ui->sessionCodeText->setText(settings.sessionCode);
    m_ui->accountIdText->setText(settings.accountId);
    const int region = m_ui->platformSelect->findText(settings.platform);
    m_ui->platformSelect->setCurrentIndex(std::max(region, 0));
}

void SettingsWindow::showNoSettings()
{
    m_ui->accountIdText->clear();
    m_ui->platformSelect->setCurrentIndex(0);
}

void SettingsWindow::setLocked(bool isLocked)
{
    m_isLocked = isLocked;
    const QString words = isLocked ? m_texts.labels.Settings.unlock : m_texts.labels.Settings.lock;
    Pictures::show(*m_ui->lockButton, isLocked ? u"lock"_s : u"unlock"_s);
    m_ui->lockButton->setToolTip(words);
    m_ui->lockButton->setAccessibleName(words);
    for (QWidget* const widget : std::initializer_list<QWidget*>{
             m_ui->managed, m_ui->regionDesc, m_ui->platformSelect, m_ui->accountIdDesc,
             m_ui->accountIdText, m_ui->sessionCodeDesc, m_ui->sessionCodeText,
             m_ui->applyButton}) {
        widget->setEnabled(!isLocked);
    }
    showMode();
    showWhyLocked();
    if (isLocked) {
        m_ui->lockButton->setFocus();
    } else {
        QLineEdit* const first =
            m_ui->managed->isChecked() ? m_ui->accountIdText : m_ui->sessionCodeText;
        first->setFocus();
        first->selectAll();
    }
}

void SettingsWindow::followMode()
{
    const bool isManaged = m_ui->managed->isChecked();
    m_ui->accountIdDesc->setEnabled(isManaged);
    m_ui->accountIdText->setEnabled(isManaged);
    m_ui->sessionCodeText->setEnabled(!isManaged);
    showMode();
}

void SettingsWindow::showMode()
{
    const bool isManaged = m_ui->managed->isChecked();
    m_ui->sessionCodeDesc->setVisible(!isManaged);
    m_ui->sessionCodeText->setVisible(!isManaged);
    Mnemonics::setTexts({
        {m_ui->applyButton, isManaged ? m_texts.applyMessage : m_texts.startMessage},
        {m_ui->cancelButton, m_texts.labels.Common.cancel},
        {m_ui->managed, m_texts.labels.Settings.managed},
        {m_ui->regionDesc, m_texts.labels.Settings.platform},
        {m_ui->accountIdDesc, m_texts.labels.Settings.accountId},
        {m_ui->sessionCodeDesc, m_texts.labels.Settings.sessionCode},
    });
}

void SettingsWindow::showDisplayOptions(bool showsMode, bool showsRegion)
{
    m_ui->managed->setVisible(showsMode);
    m_ui->regionDesc->setVisible(showsRegion);
    m_ui->platformSelect->setVisible(showsRegion);
}

void SettingsWindow::showLock(bool isShown)
{
    m_ui->lockButton->setVisible(isShown);
    showWhyLocked();
}

void SettingsWindow::showWhyLocked()
{
    const bool canUnlock = !m_ui->lockButton->isHidden();
    const QString& words =
        canUnlock ? m_texts.labels.Settings.locked : m_texts.labels.Settings.fixed;
    m_ui->whyLocked->setText(words);
    m_ui->whyLocked->setVisible(m_isLocked);
    // A screen reader comes to the button and not to the line.
    m_ui->lockButton->setAccessibleDescription(m_isLocked ? words : QString());
}

void SettingsWindow::setBusy(bool isBusy)
{
    setEnabled(!isBusy);
    setCursor(isBusy ? Qt::BusyCursor : Qt::ArrowCursor);
}

void SettingsWindow::showError(const QString& title, const QString& message)
{
    constexpr int kWidestMessage = 400;
    constexpr QSize kSign(32, 32);
    auto* const alert =
        new QMessageBox(QMessageBox::Warning, windowTitle(), title, QMessageBox::NoButton, this);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setInformativeText(message);
    alert->addButton(new PushButton(m_texts.labels.Common.ok), QMessageBox::AcceptRole);
    alert->setIconPixmap(
        BundleImages::pixmap(u"caution"_s, Pictures::grown(kSign, *alert), devicePixelRatioF()));
    const QList<QLabel*> labels = alert->findChildren<QLabel*>();
    for (QLabel* const label : labels) {
        label->setTextFormat(Qt::PlainText);
        if (label->text() == message) { // in one line if it is a usual one
            label->setWordWrap(false);
            label->setMinimumWidth(std::min(label->sizeHint().width(), kWidestMessage));
            label->setWordWrap(true);
        }
    }
    alert->layout()->setContentsMargins(layout()->contentsMargins()); // as in this window
    alert->open();
}

void SettingsWindow::reject()
{
    if (isEnabled()) {
        Q_EMIT cancelPressed();
    }
}

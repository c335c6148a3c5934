#include "agent_core/AppDelegate.h"

#include <utility>

#include <QFileInfo>
#include <QTimer>

#include "agent_core/PrivilegedSettings.h"
#include "agent_core/SettingsFile.h"
#include "agent_core/SettingsRules.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/processes/SecretText.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "windows/SecurityAccess.h"
#include "windows/SettingsWindow.h"

// The settings window's place in the agent: who opens it, what unlocks it, and what Apply does.

void AppDelegate::setUI()
{
    if (const auto labels = getLanguageLabel()) {
        settingsTexts.translate(*labels, language);
    }
}

SettingsWindow& AppDelegate::settingsWindow()
{
    if (!window) {
        window = std::make_unique<SettingsWindow>(settingsTexts);
        connect(window.get(), &SettingsWindow::modeChanged, this, [this] { managedCheck(); });
        connect(window.get(), &SettingsWindow::lockPressed, this, [this] { unlockSettings(); });
        connect(window.get(), &SettingsWindow::applyPressed, this, [this] { applyAction(); });
        connect(window.get(), &SettingsWindow::cancelPressed, this, [this] { cancelAction(); });
    }
    return *window;
}

void AppDelegate::settings()
{
    if (isTerminating()) {
        return;
    }
    if (m_restartWait) {
        m_opensSettingsAfterRestartWait = true;
    } else if (!settingsWindow().isVisible()) {
        prepareSettingsWindow();
        WindowActivation::present(window.get());
    } else if (window->isMinimized()) {
        WindowActivation::present(window.get());
    }
}

void AppDelegate::waitingSettings()
{
    if (QFileInfo::exists(backendSettingsPath())) {
        if (settingsShowTimer) {
            settingsShowTimer->stop();
            settingsShowTimer->deleteLater(); // it is the one that calls
            settingsShowTimer = nullptr;
        }
        return;
    }
    if (!isTerminating() && !m_restartWait && !settingsWindow().isVisible()) {
        prepareSettingsWindow();
        window->presentByService();
    }
}

// What the window shows when it opens, whoever opens it.
void AppDelegate::prepareSettingsWindow()
{
    updateSettings();
    // A first configuration stays possible where what is configured may not be changed.
    window->showLock(displayChange || window->entries().accountId.isEmpty());
}

void AppDelegate::updateSettings()
{
    MainQueue::assertMainThread();
    if (const auto stored = read_BackendSettingsPlist(backendSettingsPath())) {
        isManaged = stored->managed;
        settingsWindow().showSettings(*stored);
    } else {
        settingsWindow().showNoSettings();
    }
    disableSettings();
}

void AppDelegate::enableSettings()
{
    settingsWindow().setLocked(false);
    window->ignoreHeldKey(); // the Return that ended the question for a password applies nothing
    window->showDisplayOptions(displayAgentType, displayPlatform);
}

void AppDelegate::disableSettings()
{
    settingsWindow().setLocked(true);
    window->showDisplayOptions(displayAgentType, displayPlatform);
}

void AppDelegate::managedCheck()
{
    settingsWindow().followMode();
}

void AppDelegate::unlockSettings()
{
    if (isTerminating()) {
        return;
    }
    if (!settingsWindow().isLocked()) {
        disableSettings();
        return;
    }
    if (!m_access) {
        m_access = std::make_unique<SecurityAccess>([this] { enableSettings(); },
                                                    [this] { disableSettings(); });
        access = m_access.get();
    }
    access->refresh();
    access->present(window.get());
}

void AppDelegate::cancelAction()
{
    closeSettings();
}

// Without the window there is nothing to be unlocked, so a question for a password goes with it.
void AppDelegate::closeSettings()
{
    if (access != nullptr) {
        access->cancelAction();
    }
    settingsWindow().hide();
    disableSettings();
}

void AppDelegate::applyAction()
{
    MainQueue::assertMainThread();
    // Locked, its button is off; nothing else may come this way either. And once the end has begun
    // nothing is written that it would cut short.
    if (settingsWindow().isLocked() || isTerminating()) {
        return;
    }
    const BackendSettings entries = window->entries();
    const auto stored = read_BackendSettingsPlist(backendSettingsPath());
    switch (SettingsRules::complaint(entries)) {
    case SettingsRules::Complaint::AccountId:
        window->complain(settingsTexts.accountIdErrorTitle, settingsTexts.accountIdErrorMsg);
        return;
    case SettingsRules::Complaint::SessionCode:
        window->complain(settingsTexts.sessionCodeErrorTitle, settingsTexts.sessionCodeErrorMsg);
        return;
    case SettingsRules::Complaint::None:
        break;
    }
    if (stored == entries) {
        closeSettings();
        return;
    }
    window->setBusy(true);
    Worker::run([self = QPointer(this), entries,
                 credentials = Credentials{user, SecretText::copy(pwd)}]() mutable {
        PrivilegedSettings::replace(credentials, entries);
        SecretText::wipe(credentials.password);
        MainQueue::post([self] {
            if (self && !isTerminating()) {
                self->finishApply();
            }
        });
    });
}

void AppDelegate::finishApply()
{
    window->setBusy(false);
    closeSettings();
    send(Protocol::requestRestart());
    // The service needs a moment to leave and come back with the new settings, whether it got the
    // request or not. Until then nobody changes them again; the rest of the agent goes on.
    m_restartWait = startTimer(Intervals::current().restartRequest, Repeats::No, [this] {
        m_restartWait->deleteLater(); // it is the one that calls
        m_restartWait = nullptr;
        if (std::exchange(m_opensSettingsAfterRestartWait, false)) {
            settings();
        }
    });
}

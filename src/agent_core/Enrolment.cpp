#include "agent_core/PrivilegedSettings.h"
#include "agent_state/AppDelegate.h"
#include "platform/processes/SecretText.h"
#include "platform/threads/Worker.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "settings/SettingsFile.h"
#include "windows/ConnectionStatus.h"
#include "windows/SecurityAccess.h"
#include "windows/SettingsWindow.h"

#include <QFileInfo>

namespace {

// A name and a copy of the password, which is overwritten when the last pointer to it goes.
std::shared_ptr<Credentials> keep(const QString& username, const QString& password)
{
    return {new Credentials{username, SecretText::copy(password)}, [](Credentials* credentials) {
                SecretText::wipe(credentials->password);
                delete credentials;
            }};
}

} // namespace

void AppDelegate::setUI()
{
    state().settingsTexts = {.labels = labels().value_or(englishFallback())};
    // A machine without settings counts as managed.
    if (QFileInfo::exists(backendSettingsPath())) {
        if (const auto stored = read_BackendSettingsPlist(backendSettingsPath())) {
            state().isManaged = stored->managed;
        }
    }
}

SettingsWindow& AppDelegate::settingsWindow()
{
    if (!window) {
        window = std::make_unique<SettingsWindow>(state().settingsTexts);
        // Once the end has begun nothing is written: it would be cut short.
        const auto follow = [this](void (SettingsWindow::*signal)(),
                                   void (AppDelegate::*action)()) {
            connect(window.get(), signal, this,
                    whileRunning([this, action] { (this->*action)(); }));
        };
        follow(&SettingsWindow::modeChanged, &AppDelegate::managedCheck);
        follow(&SettingsWindow::lockPressed, &AppDelegate::unlockSettings);
        follow(&SettingsWindow::applyPressed, &AppDelegate::applyAction);
        follow(&SettingsWindow::cancelPressed, &AppDelegate::cancelAction);
    }
    return *window;
}

void AppDelegate::settings()
{
    if (m_restartWait.isActive()) {
        m_opensSettingsAfterRestartWait = true;
        return;
    }
    if (state().access && state().access->isVisible()) { // it is in front of the settings
        state().access->present(window.get());
        return;
    }
    if (!settingsWindow().isVisible()) { // else what is entered in it stays
        prepareSettingsWindow();
    }
    window->present();
}

void AppDelegate::waitingSettings()
{
    if (QFileInfo::exists(backendSettingsPath())) {
        state().settingsShowTimer.stop();
    } else if (!m_restartWait.isActive() && !settingsWindow().isVisible()) {
        prepareSettingsWindow();
        window->presentByService();
    }
}

// What the window shows when it opens, whoever opens it.
void AppDelegate::prepareSettingsWindow()
{
    updateSettings();
    window->showDisplayOptions(options.displayAgentType, options.displayPlatform);
    // The first enrolment stays possible even where later changes are forbidden.
    window->showLock(options.displayChange || window->entries().accountId.isEmpty());
}

void AppDelegate::updateSettings()
{
    if (const auto stored = read_BackendSettingsPlist(backendSettingsPath())) {
        state().isManaged = stored->managed;
        state().connectionStatus->isManaged = stored->managed;
        settingsWindow().showSettings(*stored);
    } else {
        settingsWindow().showNoSettings();
    }
    disableSettings();
}

void AppDelegate::enableSettings()
{
    settingsWindow().setLocked(false);
    window->inputGuard.ignoreHeldKey(); // the Return that entered the password must not press Apply
}

void AppDelegate::disableSettings()
{
    settingsWindow().setLocked(true);
}

void AppDelegate::managedCheck()
{
    settingsWindow().followMode();
}

void AppDelegate::unlockSettings()
{
    if (!settingsWindow().isLocked()) {
        disableSettings();
        return;
    }
    if (!state().access) {
        state().access = std::make_unique<SecurityAccess>(&AppDelegate::labels);
        connect(state().access.get(), &SecurityAccess::credentialsEntered, this,
                &AppDelegate::checkCredentials);
        connect(state().access.get(), &SecurityAccess::cancelled, this,
                [this] { m_check.reset(); });
    }
    state().access->refresh();
    state().access->present(window.get());
}

// Takes seconds. The result counts only where the user has not cancelled meanwhile.
void AppDelegate::checkCredentials(const QString& username, const QString& password)
{
    m_check = keep(username, password);
    Worker::run([self = QPointer(this), check = m_check] {
        const bool isRight = authenticateLocalAdminUser(check->user, check->password, false);
        post([self, check, isRight] {
            if (self && self->m_check == check) {
                self->finishCheck(*check, isRight);
            }
        });
    });
}

void AppDelegate::finishCheck(const Credentials& check, bool isRight)
{
    state().access->finishCheck(isRight);
    if (isRight) {
        state().user = check.user;
        SecretText::wipe(state().pwd);
        state().pwd = SecretText::copy(check.password);
        enableSettings();
    } else {
        disableSettings();
    }
    m_check.reset();
}

// Closes the question for a password, too.
void AppDelegate::cancelAction()
{
    if (state().access) {
        state().access->cancelAction();
    }
    settingsWindow().hide();
    disableSettings();
}

void AppDelegate::applyAction()
{
    if (settingsWindow().isLocked()) {
        return;
    }
    const BackendSettings entries = window->entries();
    const auto stored = read_BackendSettingsPlist(backendSettingsPath());
    const auto invalid = entries.invalidEntry();
    const SettingsTexts& texts = state().settingsTexts;
    if (invalid == BackendSettings::Entry::AccountId) {
        window->showError(texts.accountIdErrorTitle, texts.accountIdErrorMsg);
    } else if (invalid == BackendSettings::Entry::SessionCode) {
        window->showError(texts.sessionCodeErrorTitle, texts.sessionCodeErrorMsg);
    } else if (stored == entries) {
        cancelAction();
    } else {
        window->setBusy(true);
        Worker::run(
            [self = QPointer(this), entries, credentials = keep(state().user, state().pwd)] {
                PrivilegedSettings::replace(*credentials, entries);
                post([self] {
                    if (self) {
                        self->finishApply();
                    }
                });
            });
    }
}

void AppDelegate::finishApply()
{
    window->setBusy(false);
    cancelAction();
    send(Protocol::message(Protocol::kRequestRestart));
    // The service needs a moment to leave and come back with the new settings, whether it got the
    // request or not. Until then nobody changes them again; the rest of the agent goes on.
    m_restartWait.start(Intervals::current().restartRequest);
}

#pragma once

#include "records/BackendSettings.h"
#include "records/SettingsTexts.h"
#include "window_kit/AgentWindow.h"

#include <QDialog>
#include <QString>

// The window in which an administrator binds the machine to an account. It shows entries and
// emits what is pressed; AppDelegate acts. Main thread.
//
// Return applies and Escape cancels; so does the title bar's close.
class SettingsWindow : public AgentWindow<QDialog, class Ui_SettingsWindow> {
    Q_OBJECT

public:
    explicit SettingsWindow(SettingsTexts texts);

    [[nodiscard]] BackendSettings entries() const;
    void showSettings(const BackendSettings& settings);
    // For a machine without settings. Leaves the session code and the mode as they are.
    void showNoSettings();

    [[nodiscard]] bool isLocked() const { return m_isLocked; }
    // Locks or unlocks all entries, the mode and the region too.
    void setLocked(bool isLocked);
    // Enables and shows the fields of the chosen mode only.
    void followMode();
    // Hides what the installation's options leave out.
    void showDisplayOptions(bool showsMode, bool showsRegion);
    // Whether the settings can be unlocked at all.
    void showLock(bool isShown);

    // While the settings are being written the window stays, disabled.
    void setBusy(bool isBusy);

    // Says in a modal alert what is wrong with an entry.
    void showError(const QString& title, const QString& message);

    void reject() override;

Q_SIGNALS:
    void modeChanged();
    void lockPressed();
    void applyPressed();
    void cancelPressed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void sayRegion();
    void showMode();
    void showWhyLocked();

    const SettingsTexts m_texts;
    bool m_isLocked = true;
};

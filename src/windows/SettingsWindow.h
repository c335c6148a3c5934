#pragma once

#include <memory>

#include <QDialog>
#include <QString>

#include "records/BackendSettings.h"
#include "records/SettingsTexts.h"
#include "window_kit/AgentWindow.h"

namespace Ui {
class SettingsWindow;
}

// The window in which an administrator binds the machine to an account. It shows entries and says
// what is pressed; what follows from that is the delegate's. Main thread.
//
// Return applies and Escape cancels; so does the title bar's close.
class SettingsWindow : public AgentWindow<QDialog> {
    Q_OBJECT

public:
    explicit SettingsWindow(SettingsTexts texts);
    ~SettingsWindow() override;

    [[nodiscard]] BackendSettings entries() const;
    void showSettings(const BackendSettings& settings);
    // For a machine that has none: what was typed as a session code, and the mode, stay.
    void showNoSettings();

    [[nodiscard]] bool isLocked() const { return m_isLocked; }
    // What is locked, is locked as a whole: the mode and the region too.
    void setLocked(bool isLocked);
    // Takes from the window what the other mode asks for, and gives it what this one does.
    void followMode();
    // What this installation lets anybody see.
    void showDisplayOptions(bool showsMode, bool showsRegion);
    // Whether the settings can be unlocked at all.
    void showLock(bool isShown);

    // While the settings are being written: the window stays, but takes nothing.
    void setBusy(bool isBusy);

    // Tells what is wrong with an entry, in an alert that must be closed first.
    void complain(const QString& title, const QString& message);

    void reject() override;

Q_SIGNALS:
    void modeChanged();
    void lockPressed();
    void applyPressed();
    void cancelPressed();

private:
    void showMode();
    void translate();

    std::unique_ptr<Ui::SettingsWindow> m_ui;
    const SettingsTexts m_texts;
    bool m_isLocked = true;
};

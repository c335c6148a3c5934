#pragma once

#include "platform/desktop/WindowActivation.h"
#include "window_kit/InertPeriod.h"
#include "window_kit/Logo.h"

#include <QEvent>
#include <QLabel>

// What all windows of the agent have in common: they stay above ordinary ones, bear the program's
// icon, and show a logo that follows the palette. `Base` is QWidget or QDialog. Main thread.
template <typename Base>
class AgentWindow : public Base {
public:
    // `type` is Qt::Window or Qt::Dialog; `buttons` are those of the title bar.
    AgentWindow(Qt::WindowFlags type, Qt::WindowFlags buttons)
        : Base(nullptr, type | buttons | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                            Qt::WindowStaysOnTopHint),
          inertPeriod(this)
    {
        Logo::setWindowIcon(*this);
    }

    // Brings the window up because the person asks for it.
    void present() { WindowActivation::present(this); }

    // Brings it up because of what the service reports: what the person types into another window
    // just then presses nothing here.
    void presentByService()
    {
        if (!this->isActiveWindow()) {
            inertPeriod.begin(InertPeriod::Inputs::Keyboard);
        }
        present();
    }

    // The label that shows the logo: the bundle's until refreshLogo() finds a custom one.
    void setLogo(QLabel* logo)
    {
        m_logo = logo;
        Logo::showBundled(*logo);
    }
    // `logoChanged` as for Logo::refresh().
    void refreshLogo(bool& logoChanged) { Logo::refresh(*m_logo, logoChanged); }

    InertPeriod inertPeriod;

protected:
    void changeEvent(QEvent* event) override
    {
        Base::changeEvent(event);
        if (event->type() == QEvent::PaletteChange && m_logo != nullptr) {
            Logo::followAppearance(*m_logo);
        }
    }

private:
    QLabel* m_logo = nullptr;
};

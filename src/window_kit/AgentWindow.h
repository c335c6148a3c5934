#pragma once

#include "window_kit/Contrast.h"
#include "window_kit/InputGuard.h"
#include "window_kit/Pictures.h"
#include "window_kit/WindowRules.h"

#include <QCloseEvent>
#include <QEvent>
#include <QLabel>

// Of a window's title bar.
inline constexpr Qt::WindowFlags kUsualButtons =
    Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;

// What all windows of the agent have in common: they stay above ordinary ones, bear the program's
// icon, know the menu's keys, and their logo, pictures and colours follow palette, font and screen.
//
// A window is one class: an AgentWindow with its Ui:: as a private member. Its owner hands it its
// labels and what it shows; what the user does leaves it as a signal. One that lives as long as the
// agent sets up what is in it when it is first to be seen: at the start that would only cost time.
// `Base` is QWidget or QDialog. Main thread.
template <typename Base>
class AgentWindow : public Base {
public:
    // `type` is Qt::Window or Qt::Dialog; `buttons` are those of the title bar.
    AgentWindow(Qt::WindowFlags type, Qt::WindowFlags buttons)
        : Base(nullptr, type | buttons | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                            Qt::WindowStaysOnTopHint),
          inputGuard(this)
    {}

    // Brings the window up because the user asks for it.
    void present()
    {
        if (!this->isVisible()) {
            inputGuard.end(); // of a time when it came up by itself
        }
        WindowRules::bringUp(this, WindowRules::Occasion::User);
    }

    // Brings it up because of what the service reports: what the user types into another window
    // just then presses nothing here.
    void presentByService(InputGuard::Inputs keptOut = InputGuard::Inputs::Keyboard)
    {
        // Also where the toolkit takes the window for the active one: it learns late that the
        // user has gone to another program.
        inputGuard.begin(keptOut);
        WindowRules::bringUp(this, WindowRules::Occasion::Service);
    }

    // The label that shows the logo: the bundle's until refreshLogo() finds a custom one.
    void setLogo(QLabel* logo)
    {
        m_logo = logo;
        Pictures::showLogo(*m_logo, false);
    }
    void refreshLogo()
    {
        m_mayBeCustom = true;
        logoChanged = Pictures::showLogo(*m_logo, true) || logoChanged;
    }

    bool logoChanged = false; // has shown a custom one at some time; never reset
    InputGuard inputGuard;

protected:
    void closeEvent(QCloseEvent* event) override
    {
        if (event->spontaneous() && inputGuard.dropsClosing()) {
            event->ignore();
        } else {
            Base::closeEvent(event);
        }
    }

    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::Show && !this->testAttribute(Qt::WA_SetWindowIcon)) {
            // Its first showing. It is polished soon after it was made, shown or not.
            Pictures::setWindowIcon(*this);
            Contrast::makeReadable(*this);
        } else if (event->type() == QEvent::ScreenChangeInternal) { // perhaps of another scale
            Pictures::refresh(*this);
            showLogo();
        }
        return Base::event(event);
    }

    void changeEvent(QEvent* event) override
    {
        Base::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) {
            Contrast::makeReadable(*this);
            showLogo();
        } else if (event->type() == QEvent::FontChange) {
            Pictures::refresh(*this);
        } else if (event->type() == QEvent::ActivationChange && this->isActiveWindow()) {
            WindowRules::activated(this);
        }
    }

private:
    void showLogo()
    {
        if (m_logo != nullptr) {
            Pictures::showLogo(*m_logo, m_mayBeCustom);
        }
    }

    QLabel* m_logo = nullptr;
    bool m_mayBeCustom = false;
};

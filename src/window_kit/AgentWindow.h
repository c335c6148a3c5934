#pragma once

#include "window_kit/InputGuard.h"
#include "window_kit/Logo.h"
#include "window_kit/MenuKeys.h"
#include "window_kit/Pictures.h"
#include "window_kit/TextColours.h"
#include "window_kit/WindowRules.h"

#include <QAbstractButton>
#include <QCloseEvent>
#include <QEvent>
#include <QLabel>

#include <functional>

// What all windows of the agent have in common: they stay above ordinary ones, bear the program's
// icon, know the menu's keys, and their logo, pictures and colours follow palette, font and screen.
// `Base` is QWidget or QDialog. Main thread.
template <typename Base>
class AgentWindow : public Base {
public:
    // `type` is Qt::Window or Qt::Dialog; `buttons` are those of the title bar.
    AgentWindow(Qt::WindowFlags type, Qt::WindowFlags buttons)
        : Base(nullptr, type | buttons | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                            Qt::WindowStaysOnTopHint),
          inputGuard(this)
    {
        Logo::setWindowIcon(*this);
        TextColours::makeReadable(*this); // before there is anything to tell of it
    }

    // Brings the window up because the person asks for it.
    void present()
    {
        if (!this->isVisible()) {
            inputGuard.end(); // of a time when it came up by itself
        }
        bringUp(WindowRules::Occasion::Person);
    }

    // Brings it up because of what the service reports: what the person types into another window
    // just then presses nothing here.
    void presentByService(InputGuard::Inputs keptOut = InputGuard::Inputs::Keyboard)
    {
        // Also where the toolkit takes the window for the active one: it learns late that the
        // person has gone to another program.
        inputGuard.begin(keptOut);
        bringUp(WindowRules::Occasion::Service);
    }

    // The window is shown, and something in it is new.
    void markNews() { WindowRules::bringUp(this, WindowRules::Occasion::News); }

    // Runs the action when the button is pressed, unless the window is deaf at the press.
    void connectButton(QAbstractButton* button, std::function<void()> action)
    {
        QObject::connect(button, &QAbstractButton::pressed, this,
                         [this] { m_dropsClick = inputGuard.dropsPress(); });
        QObject::connect(button, &QAbstractButton::clicked, this, [this, run = std::move(action)] {
            if (!m_dropsClick) {
                run();
            }
        });
    }

    // The label that shows the logo: the bundle's until refreshLogo() finds a custom one.
    void setLogo(QLabel* logo)
    {
        m_logo = logo;
        Logo::showBundled(*logo);
    }
    // `logoChanged` as for Logo::refresh().
    void refreshLogo(bool& logoChanged) { Logo::refresh(*m_logo, logoChanged); }

    InputGuard inputGuard;

protected:
    // A key of the window manager, pressed for another window, closes nothing.
    void closeEvent(QCloseEvent* event) override
    {
        if (event->spontaneous() && inputGuard.isOn()) {
            event->ignore();
        } else {
            Base::closeEvent(event);
        }
    }

    bool event(QEvent* event) override
    {
        if (event->type() == QEvent::Polish) { // its first showing: what is in it, too
            TextColours::makeReadable(*this);
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
            TextColours::makeReadable(*this);
            showLogo();
        } else if (event->type() == QEvent::FontChange) {
            Pictures::refresh(*this);
        } else if (event->type() == QEvent::ActivationChange && this->isActiveWindow()) {
            WindowRules::activated(this);
        }
    }

private:
    void bringUp(WindowRules::Occasion occasion)
    {
        MenuKeys::addTo(this);
        WindowRules::bringUp(this, occasion);
    }

    // For another palette or scale.
    void showLogo()
    {
        if (m_logo != nullptr) {
            Logo::followAppearance(*m_logo);
        }
    }

    QLabel* m_logo = nullptr;
    bool m_dropsClick = false; // of the button that is pressed
};

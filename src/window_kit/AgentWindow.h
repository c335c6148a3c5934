#pragma once

#include "localisation/Translate.h"
#include "window_kit/Contrast.h"
#include "window_kit/InputGuard.h"
#include "window_kit/Pictures.h"
#include "window_kit/WindowRules.h"

#include <QCloseEvent>
#include <QEvent>

#include <memory>
#include <utility>

// Of a window's title bar.
inline constexpr Qt::WindowFlags kUsualButtons =
    Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;

// What all windows of the agent have in common: they stay above ordinary ones, bear the program's
// icon, know the menu's keys, and their logo, pictures and colours follow palette, font and screen.
//
// A window is one class, whose constructor calls setUp(). Its owner hands it its labels and what it
// shows; what the user does leaves it as a signal. One that lives as long as the agent calls
// setUp() when it is first to be seen: at the start that would only cost time. `Base` is QWidget or
// QDialog, `Form` the class Ui_NAME that the toolkit makes of NAME.ui. Main thread.
template <typename Base, typename Form>
class AgentWindow : public Base {
public:
    // `type` is Qt::Window or Qt::Dialog; `buttons` are those of the title bar; `labels` may be
    // null for a window that is given its texts.
    AgentWindow(Qt::WindowFlags type, Qt::WindowFlags buttons, LabelSource labels)
        : Base(nullptr, type | buttons | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                            Qt::WindowStaysOnTopHint),
          inputGuard(this), m_labels(std::move(labels))
    {}

    // Whether the user can see the window: a minimised one can't be seen.
    [[nodiscard]] bool isSeen() const { return this->isVisible() && !this->isMinimized(); }

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

    // Looks for a custom logo; until then the window shows the bundle's.
    void refreshLogo() { logoChanged = Pictures::showLogo(*this, true) || logoChanged; }

    // Puts one language's texts in place.
    virtual void translate(const JsonData::Info& /*labels*/) {}

    bool logoChanged = false; // has shown a custom one at some time; never reset
    InputGuard inputGuard;

protected:
    // Makes what is in the window.
    void setUp()
    {
        m_ui = std::make_shared<Form>();
        m_ui->setupUi(this);
        Pictures::refresh(*this);
        Pictures::showLogo(*this, false);
    }

    // Puts the labels in place as they are now; where there are none, the texts stay.
    void translateAnew()
    {
        if (const auto labels = m_labels()) {
            translate(*labels);
        }
    }

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
            Pictures::showLogo(*this, logoChanged);
        }
        return Base::event(event);
    }

    void changeEvent(QEvent* event) override
    {
        Base::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) {
            Contrast::makeReadable(*this);
            Pictures::showLogo(*this, logoChanged);
        } else if (event->type() == QEvent::FontChange) {
            Pictures::refresh(*this);
        } else if (event->type() == QEvent::ActivationChange && this->isActiveWindow()) {
            WindowRules::activated(this);
        }
    }

    const LabelSource m_labels;
    // Null until setUp(). Nobody shares it; but unlike a unique_ptr it lets a window be deleted
    // where its form is only declared.
    std::shared_ptr<Form> m_ui;
};

#pragma once

#include "localisation/Translate.h"

#include <memory>

// The About window: which program this is, and which version of it.
//
// There is one for the agent's whole life; its window is made when it is first to be seen and is
// only ever hidden. Main thread.
class AboutController {
public:
    explicit AboutController(LabelSource labels);
    ~AboutController();

    // Brings the window up because the person asks for it.
    void present();

    // Puts one language's texts in place. A program without version or build number is a broken
    // installation: fatalState(). Both are the running program's, also after an upgrade.
    void translate(const JsonData::Info& data);

    // The button.
    void QuitAction();

private:
    class Window;

    Window& window();
    const LabelSource m_labels;
    std::unique_ptr<Window> m_window;
};

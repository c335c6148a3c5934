#pragma once

#include <memory>

#include <QObject>

#include "localisation/Translate.h"

// The About window: which program this is, and which version of it.
//
// There is one for the agent's whole life; its window is made when it is first to be seen and is
// only ever hidden. Main thread.
class AboutController : public QObject {
public:
    AboutController();
    ~AboutController() override;

    // Brings the window up because the person asks for it.
    void present();

    // Puts one language's texts in place. A program without version or build number is a broken
    // installation: that ends it.
    void translate(const JsonData::Info& data);

    // The button.
    void QuitAction();

private:
    class Window;

    Window& window();
    void windowDidLoad();

    std::unique_ptr<Window> m_window;
};

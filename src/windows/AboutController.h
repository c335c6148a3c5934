#pragma once

#include "localisation/Translate.h"
#include "window_kit/AgentWindow.h"

#include <QDialog>

// The About window: which program this is, and which version of it. There is one from the first
// showing on, which is only ever hidden. Main thread.
class AboutController : public AgentWindow<QDialog, class Ui_AboutController> {
    Q_OBJECT

public:
    explicit AboutController(LabelSource labels);

    // Brings the window up because the user asks for it.
    void present();

    // Puts one language's texts in place. A program without version or build number is a broken
    // installation: fatalState(). Both are the running program's, also after an upgrade.
    void translate(const JsonData::Info& labels) override;

    // The button.
    void QuitAction() { hide(); }
};

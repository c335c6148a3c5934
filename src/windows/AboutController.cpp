#include "windows/AboutController.h"

#include <QDialog>
#include <QEvent>

#include "agent_core/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/desktop/WindowActivation.h"
#include "ui_AboutController.h"
#include "window_kit/Logo.h"
#include "window_kit/Placement.h"
#include "windows/Bundle+extensions.h"

using namespace Qt::StringLiterals;

namespace {

constexpr Qt::WindowFlags kFlags = Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                                   Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint |
                                   Qt::WindowStaysOnTopHint;

QString required(const std::optional<QString>& number, const char* key)
{
    if (!number) {
        fatalState(QLatin1StringView(key) + u" is missing from the application's Info.plist"_s);
    }
    return *number;
}

} // namespace

class AboutController::Window : public QDialog {
public:
    explicit Window(AboutController& owner) : QDialog(nullptr, kFlags)
    {
        ui.setupUi(this);
        Logo::setWindowIcon(*this);
        Logo::showBundled(*ui.logo);
        QFont name = ui.agentName->font();
        name.setPointSizeF(name.pointSizeF() * 1.25);
        ui.agentName->setFont(name);
        connect(ui.Quit, &QPushButton::clicked, &owner, &AboutController::QuitAction);
    }

    Ui::AboutController ui;

protected:
    void changeEvent(QEvent* event) override
    {
        QDialog::changeEvent(event);
        if (event->type() == QEvent::PaletteChange) {
            Logo::followAppearance(*ui.logo);
        }
    }
};

AboutController::AboutController() = default;

AboutController::~AboutController() = default;

void AboutController::present()
{
    Window& shown = window();
    if (!shown.isVisible()) {
        shown.adjustSize();
        shown.move(Placement::centre(Placement::availableArea(), shown.size()));
    }
    WindowActivation::present(&shown);
}

AboutController::Window& AboutController::window()
{
    if (!m_window) {
        m_window = std::make_unique<Window>(*this);
        windowDidLoad();
    }
    return *m_window;
}

void AboutController::windowDidLoad()
{
    if (const auto labels = getLanguageLabel()) {
        translate(labels->info(AppDelegate::language));
    }
}

void AboutController::translate(const JsonData::Info& data)
{
    Ui::AboutController& ui = window().ui;
    m_window->setWindowTitle(u"vantory - "_s + data.About.about);
    ui.agentName->setText(u"vantory Agent"_s);
    ui.versionName->setText(data.About.version + u": "_s +
                            required(Bundle::releaseVersionNumber(), "CFBundleShortVersionString"));
    ui.Quit->setText(data.Common.quit);
    ui.copyright->setText(u"© 2026 Halvern. All rights reserved."_s);
    ui.BuildLabel->setText(data.About.build + u": "_s +
                           required(Bundle::buildVersionNumber(), "CFBundleVersion"));
}

void AboutController::QuitAction()
{
    if (m_window) {
        m_window->hide();
    }
}

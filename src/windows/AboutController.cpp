#include "windows/AboutController.h"

#include "logging/Logs.h"
#include "platform/files/MainBundle.h"
#include "ui_AboutController.h"
#include "window_kit/AgentWindow.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"
#include "windows/Bundle+extensions.h"

#include <QDialog>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString required(const std::optional<QString>& number, const char* key)
{
    if (!number) {
        fatalState(
            u"%1 is missing from %2/Info.plist"_s.arg(QLatin1StringView(key), MainBundle::path()));
    }
    return *number;
}

} // namespace

class AboutController::Window : public AgentWindow<QDialog> {
public:
    explicit Window(AboutController& owner)
        : AgentWindow(Qt::Window, Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint)
    {
        ui.setupUi(this);
        setLogo(ui.logo);
        QFont name = ui.agentName->font();
        name.setPointSizeF(name.pointSizeF() * 1.25);
        ui.agentName->setFont(name);
        connect(ui.Quit, &QPushButton::clicked, this, [&owner] { owner.QuitAction(); });
    }

    Ui::AboutController ui;
};

AboutController::AboutController(LabelSource labels) : m_labels(std::move(labels)) {}

AboutController::~AboutController() = default;

void AboutController::present()
{
    Window& shown = window();
    if (const auto labels = m_labels()) {
        translate(*labels);
    }
    if (!shown.isVisible()) {
        shown.adjustSize();
        shown.move(Placement::centre(Placement::availableArea(), shown.size()));
    }
    shown.present();
}

AboutController::Window& AboutController::window()
{
    if (!m_window) {
        m_window = std::make_unique<Window>(*this);
    }
    return *m_window;
}

void AboutController::translate(const JsonData::Info& data)
{
    Ui::AboutController& ui = window().ui;
    m_window->setWindowTitle(u"vantory - "_s + data.About.about);
    ui.agentName->setText(u"vantory Agent"_s);
    ui.versionName->setText(data.About.version + u": "_s +
                            required(Bundle::releaseVersionNumber(), "CFBundleShortVersionString"));
    ui.copyright->setText(u"© 2026 Halvern. All rights reserved."_s);
    ui.BuildLabel->setText(data.About.build + u": "_s +
                           required(Bundle::buildVersionNumber(), "CFBundleVersion"));
    Mnemonics::setTexts({{ui.Quit, data.Common.quit}});
    // Readers speak it with the button, which has the keyboard.
    ui.Quit->setAccessibleDescription(ui.versionName->text() + u", "_s + ui.BuildLabel->text());
}

void AboutController::QuitAction()
{
    if (m_window) {
        m_window->hide();
    }
}

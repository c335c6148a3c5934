#include "windows/AboutController.h"

#include "ui_AboutController.h"
#include "window_kit/Mnemonics.h"
#include "window_kit/Placement.h"
#include "windows/Bundle+extensions.h"

#include <utility>

using namespace Qt::StringLiterals;

AboutController::AboutController(LabelSource labels)
    : AgentWindow(Qt::Window, kUsualButtons, std::move(labels))
{
    setUp();
    QFont name = m_ui->agentName->font();
    name.setPointSizeF(name.pointSizeF() * 1.25);
    m_ui->agentName->setFont(name);
    connect(m_ui->Quit, &QPushButton::clicked, this, &AboutController::QuitAction);
}

void AboutController::present()
{
    translateAnew();
    if (!isVisible()) {
        adjustSize();
        move(Placement::centre(Placement::availableArea(), size()));
    }
    AgentWindow::present();
}

void AboutController::translate(const JsonData::Info& labels)
{
    setWindowTitle(u"vantory - "_s + labels.About.about);
    m_ui->versionName->setText(labels.About.version + u": "_s +
                               Bundle::required(u"CFBundleShortVersionString"_s));
    m_ui->BuildLabel->setText(labels.About.build + u": "_s +
                              Bundle::required(u"CFBundleVersion"_s));
    Mnemonics::setTexts({{m_ui->Quit, labels.Common.quit}});
    // Readers speak it with the button, which has the keyboard.
    m_ui->Quit->setAccessibleDescription(m_ui->versionName->text() + u", "_s +
                                         m_ui->BuildLabel->text());
}

// Time from a message's bytes on the wire to its window on the screen. Run it on a display with a
// window manager (tests/support/with_desktop --display --bus); prints milliseconds.
#include "AgentFixture.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

QWidget* exposedMessage()
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    const auto found = std::find_if(widgets.cbegin(), widgets.cend(), [](const QWidget* widget) {
        return widget->objectName() == "MessageInbox"_L1 && widget->windowHandle() != nullptr &&
               widget->windowHandle()->isExposed();
    });
    return found != widgets.cend() ? *found : nullptr;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    AgentFixture agent;
    if (!agent.start()) {
        std::puts("the agent did not start");
        return 1;
    }
    constexpr int kRounds = 31;
    std::vector<double> milliseconds;
    for (int round = 0; round < kRounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        agent.write(R"(receive_message={"from":"Ann","text":"Hello","timeout":0,"icon":1})");
        while (exposedMessage() == nullptr) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        milliseconds.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
        exposedMessage()->close();
        QTest::qWait(50);
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    std::printf("median %.1f ms, least %.1f ms, most %.1f ms, %d messages\n",
                milliseconds.at(kRounds / 2), milliseconds.front(), milliseconds.back(), kRounds);
}

#include <cstdlib>
#include <vector>

#include <QApplication>
#include <QSessionManager>

#include <unistd.h>

#include "agent_state/AppDelegate.h"
#include "dispatch/MessageDispatch.h"
#include "logging/Logs.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/processes/TerminationSignals.h"
#include "platform/threads/MainQueue.h"

using namespace Qt::StringLiterals;

namespace {

// Whatever ends the main loop is an orderly end. It never comes back: where another thread is
// already on its way to the end, that thread ends the process.
[[noreturn]] void terminate()
{
    AppDelegate::applicationWillTerminate();
    for (;;) {
        ::pause();
    }
}

// The log files are the program's only output: what the toolkit has to say is not for whoever
// started the agent, but for what ends the program.
void handleMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtFatalMsg) {
        fatalState(message);
    }
}

// The toolkit's own quitting asks every window first, and any of them could refuse.
class QuitFilter : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Quit) {
            terminate();
        }
        return QObject::eventFilter(watched, event);
    }
};

// A window that comes up by itself must be able to stand above the others and ask for the keyboard,
// which native Wayland lets no program do. Told by an argument and not by the environment, which
// the programs that we start inherit.
void preferX11(std::vector<char*>& arguments)
{
    static char option[] = "-platform";
    static char platform[] = "xcb";
    if (!arguments.empty() && qEnvironmentVariableIsSet("DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        arguments.insert(arguments.begin() + 1, {option, platform});
    }
}

} // namespace

int main(int argc, char* argv[])
{
    // Before any other thread exists.
    const TerminationSignals signals([] { AppDelegate::applicationWillTerminate(); });
    qInstallMessageHandler(&handleMessage);

    std::vector<char*> arguments(argv, argv + argc);
    preferX11(arguments);
    auto count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    QApplication application(count, arguments.data());
    QApplication::setApplicationName(u"vantoryAgent"_s);
    QApplication::setDesktopFileName(u"vantoryAgent"_s);
    // Neither windows nor the toolkit's own helpers end the agent by going.
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setQuitLockEnabled(false);
    application.installEventFilter(new QuitFilter(&application));
    // The service starts the agent; the desktop's session manager must not start a second one.
    QObject::connect(
        &application, &QGuiApplication::saveStateRequest, &application,
        [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); });

    MainQueue::attach();
    WindowActivation::watchInput();
    AppDelegate delegate(&MessageDispatch::checkMessage);
    delegate.applicationDidFinishLaunching();
    // The toolkit leaves by exit() when the display goes away: the desktop's log-out, too. Late,
    // since exit handlers run before those of whatever was set up earlier.
    std::atexit(&terminate);
    QApplication::exec();
    terminate();
}

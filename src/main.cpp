#include <cstdlib>

#include <QApplication>
#include <QSessionManager>

#include <unistd.h>

#include "agent_core/AppDelegate.h"
#include "platform/MainQueue.h"
#include "platform/TerminationSignals.h"
#include "platform/WindowActivation.h"
#include "service_link/MessageDispatch.h"

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

} // namespace

int main(int argc, char* argv[])
{
    // Before any other thread exists.
    const TerminationSignals signals([] { AppDelegate::applicationWillTerminate(); });

    // A window that comes up by itself must be able to stand above the others and ask for the
    // keyboard, which native Wayland lets no program do.
    if (qEnvironmentVariableIsSet("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("vantoryAgent"));
    QApplication::setApplicationDisplayName(QString());
    QApplication::setDesktopFileName(QStringLiteral("vantoryAgent"));
    QApplication::setQuitOnLastWindowClosed(false);
    application.installEventFilter(new QuitFilter(&application));
    // The service starts the agent; the desktop's session manager must not start a second one.
    QObject::connect(
        &application, &QGuiApplication::saveStateRequest, &application,
        [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); });
    // The toolkit leaves by exit() when the display goes away: the desktop's log-out, too.
    std::atexit(&terminate);

    MainQueue::attach();
    WindowActivation::watchInput();
    AppDelegate delegate(&MessageDispatch::checkMessage);
    delegate.applicationDidFinishLaunching();
    QApplication::exec();
    terminate();
}

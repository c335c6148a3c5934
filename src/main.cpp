#include "agent_state/AppDelegate.h"
#include "dispatch/MessageDispatch.h"
#include "logging/Logs.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/DisplayServer.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/processes/ProcessMemory.h"
#include "platform/processes/ProgramEnd.h"
#include "platform/processes/TerminationSignals.h"
#include "platform/threads/MainQueue.h"

#include <QApplication>
#include <QPixmapCache>
#include <QSessionManager>

#include <cstdlib>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Every exit runs applicationWillTerminate(). It returns only where another thread has already
// called it; that one ends the process.
[[noreturn]] void terminate()
{
    AppDelegate::applicationWillTerminate();
    waitForProgramEnd();
}

// Qt's own messages are dropped: the program writes to its log files only. Those that end the
// program are kept.
void handleMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtFatalMsg) {
        fatalState(message);
    }
}

// Qt's own quitting would ask every window first, and any of them could refuse.
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
#ifndef VANTORY_DEBUG // a debugger needs the memory
    ProcessMemory::hide();
#endif
    ProcessMemory::useOneHeap();
    // Before any other thread exists.
    TerminationSignals::handle([] { AppDelegate::applicationWillTerminate(); });
    qInstallMessageHandler(&handleMessage);

    auto arguments = DisplayServer::preferX11(std::vector<char*>(argv, argv + argc));
    auto count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    QApplication application(count, arguments.data());
    QApplication::setApplicationName(u"vantoryAgent"_s);
    QApplication::setDesktopFileName(u"vantoryAgent"_s);
    // The agent goes on when its last window has closed.
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setQuitLockEnabled(false);
    application.installEventFilter(new QuitFilter(&application));
    // The service starts the agent; the desktop's session manager must not start a second one.
    QObject::connect(
        &application, &QGuiApplication::saveStateRequest, &application,
        [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); });

    // In KiB: all pictures of the windows fit in. The style also keeps a picture for each length
    // that a scroll bar's handle has had.
    QPixmapCache::setCacheLimit(2048);

    MainQueue::attach();
    Accessibility::joinIfBusAnswers(&application);
    WindowActivation::watchInput();
    AppDelegate delegate(&MessageDispatch::checkMessage);
    delegate.applicationDidFinishLaunching();
    // Qt calls exit() when the display server goes away, as at the desktop's log-out. Registered
    // last, because exit handlers run in the reverse order: this one comes first.
    std::atexit(&terminate);
    QApplication::exec();
    terminate();
}

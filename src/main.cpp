#include "agent_state/AppDelegate.h"
#include "command_line/CommandLine.h"
#include "dispatch/MessageDispatch.h"
#include "logging/Logs.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/Accessibility.h"
#include "platform/desktop/ToolkitDisplay.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/display/DisplayConnection.h"
#include "platform/display/DisplayTimeout.h"
#include "platform/files/MemoryFile.h"
#include "platform/processes/ProcessMemory.h"
#include "platform/processes/ProgramEnd.h"
#include "platform/processes/TerminationSignals.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Thread.h"

#include <QApplication>
#include <QPixmapCache>
#include <QSessionManager>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>
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

[[noreturn]] void terminateWithoutDisplay()
{
    ToolkitDisplay::isGone = true;
    terminate();
}

// The arguments without the program's name.
QStringList argumentsOf(int argc, char* argv[])
{
    QStringList arguments;
    for (int place = 1; place < argc; ++place) {
        arguments.append(QString::fromLocal8Bit(argv[place]));
    }
    return arguments;
}

std::atomic_bool hasDisplay = false;

// Qt's own messages are dropped, except fatal ones: the program writes to its log files only. Until
// there is a display, a fatal message means that there is none, and the first warning says why. The
// message that the display has gone is the last chance for an orderly end.
void handleMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    static std::mutex mutex; // guards the reason
    static QString reason;
    if (!hasDisplay && type != QtDebugMsg && type != QtInfoMsg) {
        const std::lock_guard lock(mutex);
        if (reason.isEmpty()) {
            reason = message.trimmed();
        }
    }
    if (hasDisplay && message.startsWith(ToolkitDisplay::kLastMessage)) {
        terminateWithoutDisplay();
    }
    if (type != QtFatalMsg) {
        return;
    }
    if (!hasDisplay) {
        CommandLine::sayNoDisplay(reason);
        endProgram(EXIT_FAILURE);
    }
    fatalState(message);
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
    const QStringList arguments = argumentsOf(argc, argv);
    if (const auto status = CommandLine::run(arguments)) {
        return *status;
    }
    MemoryFile kept = MemoryFile::inherited();
    if (!RunningAgent::take()) {
        return CommandLine::showRunningAgent(arguments);
    }
    ProcessMemory::useOneHeap();
    // Before any other thread exists.
    handleTerminationSignals([] { AppDelegate::applicationWillTerminate(); });
    qInstallMessageHandler(&handleMessage);

    auto toolkitArguments = ToolkitDisplay::preferX11(std::vector<char*>(argv, argv + argc));
    auto count = static_cast<int>(toolkitArguments.size());
    toolkitArguments.push_back(nullptr);
    // Without one more, the toolkit would wait here for the session bus for ever (Qt 6.8).
    Thread::start("the toolkit", [] {}).join();
    std::optional<DisplayTimeout> timeout(std::in_place, std::chrono::seconds(30), [] {
        CommandLine::sayNoDisplay(u"it does not answer"_s);
        endProgram(EXIT_FAILURE);
    });
    AppDelegate delegate(&MessageDispatch::checkMessage, arguments, std::move(kept));
    // Open until the toolkit has its own: a server that its last client leaves may start anew.
    std::optional<DisplayConnection> display(std::in_place);
    if (display->open(std::chrono::milliseconds(0))) {
        delegate.link(); // else there may be no agent
    }
    QApplication application(count, toolkitArguments.data());
    timeout.reset();
    display.reset();
    hasDisplay = true;
    QApplication::setApplicationName(u"vantoryAgent"_s);
    QApplication::setDesktopFileName(u"vantoryAgent"_s);
    // The agent goes on when its last window has closed.
    QApplication::setQuitOnLastWindowClosed(false);
    QCoreApplication::setQuitLockEnabled(false);
    application.installEventFilter(new QuitFilter(&application));
    // The keeper restarts the agent; the desktop's session manager must not start a second one.
    QObject::connect(
        &application, &QGuiApplication::saveStateRequest, &application,
        [](QSessionManager& manager) { manager.setRestartHint(QSessionManager::RestartNever); });

    // In KiB: all pictures of the windows fit in. The style also keeps a picture for each length
    // that a scroll bar's handle has had.
    QPixmapCache::setCacheLimit(2048);

    MainQueue::attach();
    Accessibility::begin(&application);
    WindowActivation::watchInput();
    delegate.applicationDidFinishLaunching();
    // Qt calls exit() when the display server goes away, as at the desktop's log-out. Registered
    // last, because exit handlers run in the reverse order: this one comes first.
    std::atexit(&terminateWithoutDisplay);
    QApplication::exec();
    terminate();
}

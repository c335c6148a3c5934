#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/files/MainBundle.h"
#include "platform/processes/ChildProcess.h"
#include "platform/threads/Worker.h"
#include "windows/AboutController.h"

using namespace Qt::StringLiterals;

// The permissions application lies beside the agent's own folder.
void AppDelegate::permissions()
{
    const QString application =
        MainBundle::path().replace("vantoryAgent.app"_L1, "vantoryPermissions.app"_L1);
    const auto child = ChildProcess::start(application + u"/vantoryPermissions"_s, {});
    if (child.error) {
        printErrorLog(*child.error);
    } else {
        Worker::run([child] { ChildProcess::wait(child); });
    }
}

void AppDelegate::about()
{
    if (!isTerminating()) {
        state().aboutView->present();
    }
}

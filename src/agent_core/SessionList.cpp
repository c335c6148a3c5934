#include "agent_core/AppDelegate.h"

#include <algorithm>

#include "platform/threads/MainQueue.h"

void AppDelegate::removeConnectionSession(qint64 session)
{
    MainQueue::assertMainThread();
    const auto found =
        std::find_if(sessions.cbegin(), sessions.cend(),
                     [session](const SessionInfo& info) { return info.session == session; });
    if (found != sessions.cend()) {
        sessions.erase(found);
    }
}

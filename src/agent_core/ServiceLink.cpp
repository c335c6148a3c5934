#include "agent_core/AppDelegate.h"

#include "platform/threads/MainQueue.h"

void AppDelegate::send(const QString& command)
{
    if (client != nullptr) {
        client->send(command);
    }
}

void AppDelegate::updateSystemTrayIcon()
{
    MainQueue::post([] {
        if (statusBarUpdate) {
            statusBarUpdate();
        }
    });
}

bool AppDelegate::isTerminating()
{
    return terminating;
}

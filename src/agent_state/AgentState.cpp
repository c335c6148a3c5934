#include "agent_state/AgentState.h"

#include "agent_state/AppDelegate.h"
#include "platform/threads/MainQueue.h"

AgentState& AppDelegate::state()
{
    static AgentState state;
    MainQueue::assertMainThread();
    return state;
}

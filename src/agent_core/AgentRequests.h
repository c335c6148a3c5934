#pragma once

class ActivityLog;

// Calls to the agent from the user's other programs, over the session bus. Main thread.
namespace AgentRequests {

// Serves calls from now on. Called once; the log outlives the main loop.
void serve(const ActivityLog& log);

} // namespace AgentRequests

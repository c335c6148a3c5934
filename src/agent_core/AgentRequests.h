#pragma once

class ActivityLog;

// What the user's other programs ask of the agent over the session bus. Main thread.
namespace AgentRequests {

// Answers calls from now on. Called once; the log outlives the main loop.
void answer(const ActivityLog& log);

} // namespace AgentRequests

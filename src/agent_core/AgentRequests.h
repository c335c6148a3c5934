#pragma once

// What the user's other programs ask of the agent over the session bus. Main thread.
namespace AgentRequests {

// Answers calls from now on. Called once.
void answer();

} // namespace AgentRequests

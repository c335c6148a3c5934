#pragma once

// What the user's other programs ask of the agent over the session bus. Main thread.
namespace AgentRequests {

// From now on. Once.
void answer();

} // namespace AgentRequests

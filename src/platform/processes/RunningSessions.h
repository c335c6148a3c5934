#pragma once

#include <chrono>
#include <functional>

// The sessions whose leaders are children that somebody waits for, and that end with the program.
// Internal to the platform. Any thread.
namespace RunningSessions {

// Calls `start`, which starts the leader of a session and returns its process number, or -1; the
// session then counts as running. False, and nothing is started, once endAll() was called.
[[nodiscard]] bool begin(const std::function<int()>& start);

// Waits for the leader's end without reaping it; the session does not count as running any more.
void awaitEnd(int leader);

// As ChildProcess::endRunning().
void endAll(std::chrono::milliseconds grace);

} // namespace RunningSessions

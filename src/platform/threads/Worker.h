#pragma once

#include <functional>

// Work that takes seconds, away from the main thread.
namespace Worker {

// Runs the work once, on a thread of its own; where the system has none left, on the calling one.
// Nobody waits for it, least of all a program that is ending: let it hold values only, and post
// what comes of it. Any thread.
void run(std::function<void()> work);

} // namespace Worker

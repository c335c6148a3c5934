#pragma once

#include <cstddef>
#include <functional>

// Work for the main thread, in the order of posting. It runs from the event loop, also from that of
// a modal alert.
//
// Each turn of the loop runs pieces for two milliseconds, or a longer one, so that what the user
// does is not held up by many.
//
// The work waits in a queue of our own, and Qt only watches its counter: the thread sanitizer does
// not see Qt's own locks and would report every hand-over by Qt as a data race.
namespace MainQueue {

// From here on the event loop runs the work, also what was posted before. Once, on the main thread,
// after the application object exists.
void attach();

// Whether the calling thread is the one that runs main().
[[nodiscard]] bool isMainThread();

// For operations of the main thread only: ends a debug build that calls one from another thread.
void assertMainThread();

// Runs the work later on the main thread. It must hold values, not references to what the caller
// owns. Any thread.
void post(std::function<void()> work);

// How many pieces wait. Any thread.
[[nodiscard]] std::size_t waiting();

} // namespace MainQueue

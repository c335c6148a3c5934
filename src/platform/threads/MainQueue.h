#pragma once

#include <functional>

// Work for the main thread, in the order of posting.
//
// A small queue of its own, not the toolkit's: the toolkit only wakes the main loop. So a hand-off
// between threads is one that a thread checker can see. Each piece of work runs from the event
// loop, nested loops of modal alerts included.
namespace MainQueue {

// Ties the queue to the calling thread, which is the main one from then on. Once, after the
// application object exists; work posted before waits.
void attach();

[[nodiscard]] bool isMainThread();

// For operations that touch what belongs to the main thread: stops a debug build that calls them
// from another one.
void assertMainThread();

// Runs the work later on the main thread. Any thread. Post values, never references to what the
// caller owns.
void post(std::function<void()> work);

// Posts the work and waits until it has run; runs it at once when called on the main thread. The
// main thread never waits for another thread, so this cannot lock up; a program that is ending does
// not wait for whoever stands here.
void postAndWait(std::function<void()> work);

} // namespace MainQueue

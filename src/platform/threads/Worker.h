#pragma once

#include "platform/files/Descriptor.h"
#include "platform/threads/MainQueue.h"

#include <QPointer>

#include <functional>

namespace Worker {

// Runs work that takes seconds once, on a thread of its own, as soon as the system has one left.
// Nobody waits for it, not even at the program's end: it must hold values only, and post its
// result. Any thread.
void run(std::function<void()> work);

// Like run(), but does not wait for a free thread: without one, works on the calling thread. The
// descriptor becomes readable at the end; it is closed if the work is done already.
[[nodiscard]] Descriptor start(std::function<void()> work);

// Posts the work to the main thread. The descriptor becomes readable when it is done; it is not
// open where the system has none left. Any thread.
[[nodiscard]] Descriptor startOnMain(std::function<void()> work);

// Like run(), then calls `then` with the work's result on the main thread, unless the owner has
// been deleted by then. Only `then` may use the owner.
template <typename Work, typename Then>
void runThen(Work work, QObject* owner, Then then)
{
    run([work, owner = QPointer(owner), then] {
        MainQueue::post([result = work(), owner, then] {
            if (owner) {
                then(result);
            }
        });
    });
}

} // namespace Worker

#pragma once

#include "platform/files/Descriptor.h"
#include "platform/threads/MainQueue.h"

#include <functional>
#include <memory>

namespace Worker {

// Runs work that takes seconds once, on a thread of its own, as soon as the system has one left.
// Nobody waits for it, a program that ends neither: it must hold values only, and post its result.
// Any thread.
void run(std::function<void()> work);

// As run(), but at once: where no thread is left, on this one. The descriptor becomes readable when
// the work is done; it is not open where that is so already.
[[nodiscard]] Descriptor start(std::function<void()> work);

// As run(), then calls `then` with the work's result on the main thread, unless the owner has been
// deleted by then. Only `then` may use the owner.
template <typename Work, typename Then>
void runThen(Work work, const std::weak_ptr<void>& owner, Then then)
{
    run([work, owner, then] {
        MainQueue::post([result = work(), owner, then] {
            if (!owner.expired()) {
                then(result);
            }
        });
    });
}

} // namespace Worker

#include "platform/threads/MainQueue.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {

struct Queue {
    std::mutex mutex; // guards the rest
    std::deque<std::function<void()>> work;
    int counter = -1; // an eventfd that is readable while work waits
};

// Never destroyed: other threads may post while the process ends.
Queue& queue = *new Queue;

// The next piece of work; none where none waits, and then nothing calls for the main thread either.
std::optional<std::function<void()>> next()
{
    const std::lock_guard lock(queue.mutex);
    if (queue.work.empty()) {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = ::read(queue.counter, &count, sizeof count);
        return std::nullopt;
    }
    std::function<void()> work = std::move(queue.work.front());
    queue.work.pop_front();
    return work;
}

// A few milliseconds of work a turn of the event loop: what the user does comes in between, also
// while there is always more to do. Where a piece runs an event loop of its own, that runs the next
// ones.
void runSome()
{
    constexpr std::chrono::milliseconds kLongest(2);
    const auto end = std::chrono::steady_clock::now() + kLongest;
    while (const auto work = next()) {
        (*work)();
        if (std::chrono::steady_clock::now() >= end) {
            return;
        }
    }
}

} // namespace

void MainQueue::attach()
{
    const std::lock_guard lock(queue.mutex);
    queue.counter = ::eventfd(queue.work.empty() ? 0 : 1, EFD_NONBLOCK | EFD_CLOEXEC);
    if (queue.counter < 0) {
        qFatal("no descriptor is left for the main thread's queue");
    }
    auto* const notifier =
        new QSocketNotifier(queue.counter, QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, &runSome);
}

bool MainQueue::isMainThread()
{
    return ::gettid() == ::getpid();
}

void MainQueue::assertMainThread()
{
    Q_ASSERT_X(isMainThread(), "MainQueue", "the agent's state belongs to the main thread");
}

void MainQueue::post(std::function<void()> work)
{
    const std::lock_guard lock(queue.mutex);
    queue.work.push_back(std::move(work));
    if (queue.work.size() == 1) {
        const std::uint64_t one = 1;
        // Before attach() there is no counter.
        [[maybe_unused]] const auto written = ::write(queue.counter, &one, sizeof one);
    }
}

std::size_t MainQueue::waiting()
{
    const std::lock_guard lock(queue.mutex);
    return queue.work.size();
}

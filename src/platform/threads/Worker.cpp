#include "platform/threads/Worker.h"

#include "platform/threads/Thread.h"

#include <QCoreApplication>
#include <QTimer>

#include <array>
#include <chrono>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds kPause(1); // between the attempts where no thread is left

// The same work, and what becomes readable when it is done: not open where no descriptor is left.
std::pair<std::function<void()>, Descriptor> awaitable(const std::function<void()>& work)
{
    std::array<int, 2> ends = {-1, -1};
    [[maybe_unused]] const int error = ::pipe2(ends.data(), O_CLOEXEC);
    return {[work, end = std::make_shared<Descriptor>(ends[1])] {
                work();
                end->close();
            },
            Descriptor(ends[0])};
}

} // namespace

void Worker::run(std::function<void()> work)
{
    if (std::jthread thread = Thread::tryStart("worker", work); thread.joinable()) {
        thread.detach();
    } else {
        QTimer::singleShot(kPause, QCoreApplication::instance(), [work] { run(work); });
    }
}

Descriptor Worker::start(std::function<void()> work)
{
    auto [awaited, done] = awaitable(work);
    std::jthread thread = done.isOpen() ? Thread::tryStart("worker", awaited) : std::jthread();
    if (!thread.joinable()) {
        work();
        return {};
    }
    thread.detach();
    return std::move(done);
}

Descriptor Worker::startOnMain(std::function<void()> work)
{
    auto [awaited, done] = awaitable(work);
    MainQueue::post(awaited);
    return std::move(done);
}

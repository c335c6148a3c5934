#include "platform/threads/Worker.h"

#include "platform/threads/Thread.h"

#include <QCoreApplication>
#include <QTimer>

#include <array>
#include <chrono>
#include <memory>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds kPause(1); // between the attempts where no thread is left

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
    std::array<int, 2> ends = {-1, -1};
    std::jthread thread;
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
        thread = Thread::tryStart("worker", [work, end = std::make_shared<Descriptor>(ends[1])] {
            work();
            end->close();
        });
    }
    Descriptor done(ends[0]);
    if (thread.joinable()) {
        thread.detach();
    } else {
        work();
        done.close();
    }
    return done;
}

#include "platform/threads/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace {

struct Waiting {
    std::mutex mutex;
    std::deque<std::function<void()>> work;
    QObject* waker = nullptr;
    std::thread::id mainThread;
};

// Never destroyed: other threads may post while the process ends.
Waiting& waiting()
{
    static auto* const queue = new Waiting;
    return *queue;
}

// Each event runs one piece of work, so that a nested event loop inside one finds the events of
// those behind it.
class Waker : public QObject {
public:
    using QObject::QObject;

    bool event(QEvent* event) override
    {
        std::function<void()> work;
        {
            // Before the event is looked at: the poster wrote it under this lock.
            const std::lock_guard lock(waiting().mutex);
            if (event->type() != QEvent::User || waiting().work.empty()) {
                return QObject::event(event);
            }
            work = std::move(waiting().work.front());
            waiting().work.pop_front();
        }
        work();
        return true;
    }
};

} // namespace

void MainQueue::attach()
{
    Waiting& queue = waiting();
    auto* const waker = new Waker(QCoreApplication::instance());
    QObject::connect(waker, &QObject::destroyed, waker, [&queue] {
        const std::lock_guard lock(queue.mutex);
        queue.waker = nullptr;
    });
    const std::lock_guard lock(queue.mutex);
    queue.mainThread = std::this_thread::get_id();
    queue.waker = waker;
    for (std::size_t i = 0; i < queue.work.size(); ++i) {
        QCoreApplication::postEvent(waker, new QEvent(QEvent::User));
    }
}

void MainQueue::assertMainThread()
{
    Q_ASSERT_X(isMainThread(), "MainQueue", "the agent's state belongs to the main thread");
}

bool MainQueue::isMainThread()
{
    const std::lock_guard lock(waiting().mutex);
    return waiting().mainThread == std::this_thread::get_id();
}

void MainQueue::post(std::function<void()> work)
{
    Waiting& queue = waiting();
    const std::lock_guard lock(queue.mutex);
    queue.work.push_back(std::move(work));
    // Under the lock: the waker can't go away meanwhile, and events stand in the work's order.
    if (queue.waker != nullptr) {
        QCoreApplication::postEvent(queue.waker, new QEvent(QEvent::User));
    }
}

void MainQueue::postAndWait(std::function<void()> work)
{
    if (isMainThread()) {
        work();
        return;
    }
    struct Done {
        std::mutex mutex;
        std::condition_variable changed;
        bool isDone = false;
    };
    const auto done = std::make_shared<Done>();
    post([work = std::move(work), done] {
        work();
        const std::lock_guard lock(done->mutex);
        done->isDone = true;
        done->changed.notify_all();
    });
    std::unique_lock lock(done->mutex);
    done->changed.wait(lock, [&] { return done->isDone; });
}

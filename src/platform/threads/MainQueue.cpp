#include "platform/threads/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

namespace {

struct Queue {
    std::mutex mutex; // guards the rest
    std::deque<std::function<void()>> work;
    QObject* waker = nullptr;
    std::thread::id mainThread;

    // With the mutex held, so that the waker is not deleted meanwhile and the events come in the
    // order of the work.
    void wake() const { QCoreApplication::postEvent(waker, new QEvent(QEvent::User)); }
};

// Never destroyed: other threads may post while the process ends.
Queue& queue()
{
    static auto* const theQueue = new Queue;
    return *theQueue;
}

// Runs one piece of work for each event: where a piece runs an event loop of its own, the events of
// the later pieces are still there for it.
class Waker : public QObject {
public:
    using QObject::QObject;

    ~Waker() override
    {
        const std::lock_guard lock(queue().mutex);
        queue().waker = nullptr;
    }

    bool event(QEvent* event) override
    {
        std::function<void()> work;
        {
            // The event was written with this lock held, so it is read with it, too.
            const std::lock_guard lock(queue().mutex);
            if (event->type() != QEvent::User || queue().work.empty()) {
                return QObject::event(event);
            }
            work = std::move(queue().work.front());
            queue().work.pop_front();
        }
        work();
        return true;
    }
};

} // namespace

void MainQueue::attach()
{
    auto* const waker = new Waker(QCoreApplication::instance());
    const std::lock_guard lock(queue().mutex);
    queue().mainThread = std::this_thread::get_id();
    queue().waker = waker;
    for (std::size_t i = 0; i < queue().work.size(); ++i) {
        queue().wake();
    }
}

bool MainQueue::isMainThread()
{
    const std::lock_guard lock(queue().mutex);
    return queue().mainThread == std::this_thread::get_id();
}

void MainQueue::assertMainThread()
{
    Q_ASSERT_X(isMainThread(), "MainQueue", "the agent's state belongs to the main thread");
}

void MainQueue::post(std::function<void()> work)
{
    const std::lock_guard lock(queue().mutex);
    queue().work.push_back(std::move(work));
    if (queue().waker != nullptr) {
        queue().wake();
    }
}

void MainQueue::postAndWait(std::function<void()> work)
{
    if (isMainThread()) {
        work();
        return;
    }
    const auto done = std::make_shared<std::promise<void>>();
    post([work = std::move(work), done] {
        work();
        done->set_value();
    });
    done->get_future().wait();
}

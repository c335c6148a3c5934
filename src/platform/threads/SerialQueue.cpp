#include "platform/threads/SerialQueue.h"

#include "platform/threads/Thread.h"

SerialQueue::SerialQueue(const std::string& label)
    : m_thread(Thread::start(label, [this] { run(); }))
{}

SerialQueue::~SerialQueue()
{
    stop();
}

void SerialQueue::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void SerialQueue::post(std::function<void()> work)
{
    {
        const std::lock_guard lock(m_mutex);
        m_work.push_back(std::move(work));
    }
    m_changed.notify_all();
}

void SerialQueue::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopping || !m_work.empty(); });
        if (m_stopping) {
            return;
        }
        auto work = std::move(m_work.front());
        m_work.pop_front();
        lock.unlock();
        work();
        work = nullptr; // without the lock, since a destructor of what it holds may post
        lock.lock();
    }
}

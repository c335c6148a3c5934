#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

// A thread that runs work one piece after another, in the order of posting.
class SerialQueue {
public:
    // A debugger shows the first fifteen characters of the label as the thread's name.
    explicit SerialQueue(const std::string& label);
    ~SerialQueue(); // stops

    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    // The work must hold values, not references to what the caller owns. Any thread.
    void post(std::function<void()> work);

    // Waits for the work that is running; all other work is dropped, also what is posted later. Not
    // from the queue itself.
    void stop();

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_work;
    bool m_stopping = false;
    std::thread m_thread;
};

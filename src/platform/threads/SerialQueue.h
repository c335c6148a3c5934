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
    // The label names the queue to whoever debugs the program.
    explicit SerialQueue(std::string label);
    ~SerialQueue(); // stops

    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    // Any thread. Post values, never references to what the caller owns.
    void post(std::function<void()> work);

    // Waits for the piece that is running and drops what has not begun and what comes later. Not
    // from the queue itself.
    void stop();

private:
    void run();

    const std::string m_label;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_work;
    bool m_stopping = false;
    std::thread m_thread;
};

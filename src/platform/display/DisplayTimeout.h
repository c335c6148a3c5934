#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <thread>

// A time limit for the connection to the display, as long as this lives: the libraries themselves
// have none for a display that takes the connection and hangs.
class DisplayTimeout {
public:
    // When the time is up, `giveUp` is called on another thread. It says why and ends the process.
    DisplayTimeout(std::chrono::milliseconds limit, std::function<void()> giveUp);
    ~DisplayTimeout() { m_answered.set_value(); }

private:
    std::promise<void> m_answered;
    std::jthread m_thread;
};

#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <thread>

// As long as it lives the program waits for its display to answer: the libraries wait without a
// time limit for one that takes the connection and hangs.
class DisplayPatience {
public:
    // When the time is up, `giveUp` is called on another thread. It says why and ends the process.
    DisplayPatience(std::chrono::milliseconds limit, std::function<void()> giveUp);
    ~DisplayPatience() { m_answered.set_value(); }

private:
    std::promise<void> m_answered;
    std::jthread m_thread;
};

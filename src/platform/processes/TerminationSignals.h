#pragma once

#include <functional>
#include <thread>

// Takes SIGTERM, SIGINT and SIGHUP on a thread of its own, where a busy main thread cannot delay
// them.
//
// Made before any other thread is started: it blocks the signals in the calling thread, and every
// thread started afterwards inherits that. SIGPIPE is ignored from then on too: a broken link is
// reported where it is written to.
class TerminationSignals {
public:
    // The handler runs on the object's own thread, once for each signal.
    explicit TerminationSignals(std::function<void()> handler);
    ~TerminationSignals();

    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    int m_signals = -1; // a signalfd
    int m_stop = -1;    // an eventfd
    std::thread m_thread;
};

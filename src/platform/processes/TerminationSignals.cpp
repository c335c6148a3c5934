#include "platform/processes/TerminationSignals.h"

#include "platform/threads/Thread.h"

#include <csignal>

void handleTerminationSignals(std::function<void()> handler)
{
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGCHLD, SIG_DFL); // else the system reaps the children, and no status ever comes

    sigset_t handled;
    sigemptyset(&handled);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&handled, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &handled, nullptr);
    std::jthread thread = Thread::tryStart("signals", [handled, handler = std::move(handler)] {
        for (;;) {
            int signal = 0;
            if (::sigwait(&handled, &signal) == 0) {
                handler();
            }
        }
    });
    if (thread.joinable()) {
        thread.detach();
    } else {
        ::pthread_sigmask(SIG_UNBLOCK, &handled, nullptr);
    }
}

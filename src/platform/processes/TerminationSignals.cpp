#include "platform/processes/TerminationSignals.h"

#include <csignal>
#include <system_error>
#include <thread>

#include <pthread.h>

void TerminationSignals::handle(std::function<void()> handler)
{
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGCHLD, SIG_DFL); // else the system reaps the children, and no status ever comes

    sigset_t handled;
    sigemptyset(&handled);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&handled, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &handled, nullptr);
    try {
        std::thread thread([handled, handler = std::move(handler)] {
            for (;;) {
                int signal = 0;
                if (::sigwait(&handled, &signal) == 0) {
                    handler();
                }
            }
        });
        ::pthread_setname_np(thread.native_handle(), "signals");
        thread.detach();
    } catch (const std::system_error&) {
        ::pthread_sigmask(SIG_UNBLOCK, &handled, nullptr);
    }
}

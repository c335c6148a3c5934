#include "platform/processes/TerminationSignals.h"

#include <csignal>
#include <cstdint>

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

TerminationSignals::TerminationSignals(std::function<void()> handler)
{
    ::signal(SIGPIPE, SIG_IGN);

    sigset_t taken;
    sigemptyset(&taken);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&taken, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &taken, nullptr);
    m_signals = ::signalfd(-1, &taken, SFD_CLOEXEC);
    m_stop = ::eventfd(0, EFD_CLOEXEC);
    if (m_signals < 0 || m_stop < 0) {
        // Without the descriptors the default dispositions are better than deafness.
        ::pthread_sigmask(SIG_UNBLOCK, &taken, nullptr);
        return;
    }

    m_thread = std::thread([this, handler = std::move(handler)] {
        pollfd descriptors[] = {{m_signals, POLLIN, 0}, {m_stop, POLLIN, 0}};
        for (;;) {
            if (::poll(descriptors, 2, -1) < 0) {
                continue;
            }
            if ((descriptors[1].revents & POLLIN) != 0) {
                return;
            }
            signalfd_siginfo info;
            if (::read(m_signals, &info, sizeof info) == sizeof info) {
                handler();
            }
        }
    });
    ::pthread_setname_np(m_thread.native_handle(), "signals");
}

TerminationSignals::~TerminationSignals()
{
    if (m_thread.joinable()) {
        const std::uint64_t one = 1;
        if (::write(m_stop, &one, sizeof one) == sizeof one) {
            m_thread.join();
        } else {
            m_thread.detach(); // can't happen: the counter of an eventfd has room
        }
    }
    ::close(m_signals);
    ::close(m_stop);
}

#include "platform/network/TcpConnection.h"

#include "platform/files/Descriptor.h"
#include "platform/files/SystemError.h"
#include "platform/network/PeerCheck.h"
#include "platform/network/TcpPeer.h"
#include "platform/threads/SerialQueue.h"
#include "platform/threads/Thread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestRead = 65536;
constexpr qsizetype kReadAhead = 1024 * 1024; // bytes that may wait to be received

NetworkError networkError(int code)
{
    return {code, systemErrorText(code)};
}

} // namespace

// Shared with the callbacks that wait on the queue and may outlive the connection there.
class TcpConnection::Private : public std::enable_shared_from_this<TcpConnection::Private> {
public:
    Private(const QString& host, quint16 port, AccountCheck accountCheck)
        : m_host(host), m_port(port), m_peer(std::move(accountCheck))
    {}

    void setEnd(std::function<void()> noticed, std::chrono::milliseconds patience, Overdue overdue)
    {
        m_noticed = std::move(noticed);
        m_patience = patience;
        m_overdue = std::move(overdue);
    }

    void start(SerialQueue& queue, ConnectHandler handler)
    {
        m_queue = &queue;
        m_wake = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        m_thread = Thread::start("link", [this, handler = std::move(handler)] { run(handler); });
    }

    void receive(Receive handler)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_receiver = std::move(handler);
            deliver();
        }
        wake(); // there may be room to read again
    }

    void send(QByteArray data, SendCompletion completion)
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_cancelled) {
                return;
            }
            Outgoing message{std::move(data), 0, std::move(completion), std::nullopt};
            if (m_socket.isOpen() && m_outgoing.empty()) {
                // At once: the process may end right after its last message.
                put(message);
            }
            m_outgoing.push_back(std::move(message));
        }
        wake();
    }

    void cancel()
    {
        {
            const std::lock_guard lock(m_mutex);
            if (m_cancelled) {
                return;
            }
            m_cancelled = true;
            m_receiver = nullptr;
        }
        wake();
    }

    void join()
    {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

private:
    struct Outgoing {
        QByteArray data;
        qsizetype sent = 0;
        SendCompletion completion;
        std::optional<NetworkError> error;

        [[nodiscard]] bool isOver() const { return error || sent == data.size(); }
    };

    // With the mutex held: gives the system as much of the message as it takes without waiting.
    void put(Outgoing& message) const
    {
        while (!message.isOver()) {
            const ssize_t count =
                ::send(m_socket.value(), message.data.constData() + message.sent,
                       static_cast<std::size_t>(message.data.size() - message.sent), MSG_NOSIGNAL);
            if (count >= 0) {
                message.sent += count;
            } else if (errno == EAGAIN) {
                return;
            } else if (errno == EPIPE && m_endSeen && !m_readError) {
                message.sent = message.data.size(); // nobody is there to get it: no failure
            } else if (errno != EINTR) {
                message.error = networkError(errno);
            }
        }
    }

    // What a waiting read takes of the memory: its bytes and the object that holds them.
    static qsizetype cost(const QByteArray& data) { return data.size() + 64; }

    void wake()
    {
        // Fails where nothing is started, or where the counter is full and has woken the thread.
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(m_wake.value(), &one, sizeof one);
    }

    [[nodiscard]] bool isCancelled()
    {
        const std::lock_guard lock(m_mutex);
        return m_cancelled;
    }

    // With the mutex held: posts the next read, or the end, to the handler that waits for it.
    void deliver()
    {
        const bool isOver = m_ended || m_readError.has_value();
        if (!m_receiver || (m_incoming.empty() && !isOver)) {
            return;
        }
        QByteArray data;
        if (!m_incoming.empty()) {
            data = std::move(m_incoming.front());
            m_incoming.pop_front();
            m_waitingBytes -= cost(data);
        }
        const bool isLast = data.isEmpty();
        m_queue->post([self = shared_from_this(), data = std::move(data),
                       isComplete = isLast && m_ended, error = isLast ? m_readError : std::nullopt,
                       handler = std::exchange(m_receiver, nullptr)] {
            if (!self->isCancelled()) {
                handler(data, isComplete, error);
            }
        });
    }

    void run(const ConnectHandler& handler)
    {
        auto [socket, error] =
            TcpPeer::connect(m_host, m_port, m_peer, m_wake, [this] { return isCancelled(); });
        if (!error) {
            const std::lock_guard lock(m_mutex);
            m_socket = std::move(socket);
        }
        m_queue->post([self = shared_from_this(), handler, error = error] {
            if (!self->isCancelled()) {
                handler(error);
            }
        });
        if (!error) {
            exchange();
        }
    }

    // Moves bytes until the connection is cancelled.
    void exchange()
    {
        for (;;) {
            short interest = 0;
            {
                const std::lock_guard lock(m_mutex);
                if (m_cancelled) {
                    ::shutdown(m_socket.value(), SHUT_RDWR);
                    return;
                }
                interest = interestOfNow();
            }
            // Where nothing is wanted the socket is left out: poll() reports a broken one always.
            std::array<pollfd, 2> descriptors = {
                {{m_wake.value(), POLLIN, 0},
                 {interest != 0 ? m_socket.value() : -1, interest, 0}}};
            const int ready = ::poll(descriptors.data(), descriptors.size(), untilOverdue());
            if (ready < 0) {
                continue;
            }
            if (ready == 0) {
                reportOverdue();
                continue;
            }
            if (descriptors[0].revents != 0) {
                std::uint64_t count = 0;
                [[maybe_unused]] const auto got = ::read(m_wake.value(), &count, sizeof count);
            }
            const int events = descriptors[1].revents;
            if ((events & (POLLOUT | POLLERR | POLLHUP)) != 0) {
                writeSome();
            }
            if ((interest & POLLIN) != 0 && (events & (POLLIN | POLLERR | POLLHUP)) != 0) {
                readOnce();
            } else if ((events & (POLLRDHUP | POLLERR | POLLHUP)) != 0) {
                const std::lock_guard lock(m_mutex);
                noteEnd(); // behind what is still to be read
            }
            if (m_endSeen && m_noticed) {
                std::exchange(m_noticed, nullptr)();
            }
        }
    }

    // With the mutex held: what the socket is to be polled for.
    [[nodiscard]] short interestOfNow() const
    {
        int interest = m_outgoing.empty() ? 0 : POLLOUT;
        const bool isOver = m_ended || m_readError.has_value();
        if (!isOver && m_waitingBytes < kReadAhead) {
            interest |= POLLIN;
        } else if (!isOver && !m_endSeen) {
            interest |= POLLRDHUP;
        }
        return static_cast<short>(interest);
    }

    void noteEnd()
    {
        if (!m_endSeen) {
            m_endSeen = Clock::now();
        }
    }

    // The milliseconds for poll().
    [[nodiscard]] int untilOverdue() const
    {
        if (!m_endSeen || !m_overdue) {
            return -1;
        }
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(*m_endSeen + m_patience - Clock::now());
        return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    }

    void reportOverdue()
    {
        std::optional<NetworkError> error;
        {
            const std::lock_guard lock(m_mutex);
            int code = 0; // where the error is still behind what was not read
            socklen_t length = sizeof code;
            ::getsockopt(m_socket.value(), SOL_SOCKET, SO_ERROR, &code, &length);
            // EPIPE: the peer had closed before it was sent something.
            error = code != 0 && code != EPIPE ? std::optional(networkError(code)) : m_readError;
        }
        std::exchange(m_overdue, nullptr)(error);
    }

    void readOnce()
    {
        const ssize_t got = ::recv(m_socket.value(), m_buffer.data(), m_buffer.size(), 0);
        const int error = errno;
        if (got < 0 && (error == EAGAIN || error == EINTR)) {
            return;
        }
        // Whoever sent something has taken the connection before.
        const auto refusal = got > 0 && m_peer.isPending() ? m_peer.check(m_socket) : std::nullopt;
        const std::lock_guard lock(m_mutex);
        if (got <= 0 || refusal) {
            noteEnd();
        }
        if (refusal) {
            m_readError = refusal;
        } else if (got > 0) {
            m_incoming.emplace_back(m_buffer.data(), got);
            m_waitingBytes += cost(m_incoming.back());
        } else if (got == 0) {
            m_ended = true;
        } else {
            m_readError = networkError(error);
        }
        deliver();
    }

    void writeSome()
    {
        std::unique_lock lock(m_mutex);
        while (!m_cancelled && !m_outgoing.empty()) {
            put(m_outgoing.front());
            if (!m_outgoing.front().isOver()) {
                return;
            }
            const Outgoing finished = std::move(m_outgoing.front());
            m_outgoing.pop_front();
            if (finished.completion) {
                lock.unlock();
                finished.completion(finished.error);
                lock.lock();
            }
        }
    }

    const QString m_host;
    const quint16 m_port;
    SerialQueue* m_queue = nullptr;
    Descriptor m_wake; // an eventfd
    std::thread m_thread;

    // Set before the thread starts, and used by it.
    std::function<void()> m_noticed;
    std::chrono::milliseconds m_patience{0};
    Overdue m_overdue;
    // The thread's own.
    std::array<char, kLargestRead> m_buffer;
    PeerCheck m_peer;

    std::mutex m_mutex;  // guards what follows
    Descriptor m_socket; // set once, when connected, by the thread that reads and polls it
    Receive m_receiver;
    std::deque<QByteArray> m_incoming;
    qsizetype m_waitingBytes = 0;
    bool m_ended = false;
    std::optional<NetworkError> m_readError;
    std::optional<Clock::time_point> m_endSeen; // when either was noticed; written by the thread
    std::deque<Outgoing> m_outgoing;
    bool m_cancelled = false;
};

TcpConnection::TcpConnection(const QString& host, quint16 port, AccountCheck accountCheck)
    : d(std::make_shared<Private>(host, port, std::move(accountCheck)))
{}

TcpConnection::~TcpConnection()
{
    d->cancel();
    d->join();
}

void TcpConnection::start(SerialQueue& queue, ConnectHandler handler)
{
    d->start(queue, std::move(handler));
}

void TcpConnection::setEnd(std::function<void()> noticed, std::chrono::milliseconds patience,
                           Overdue overdue)
{
    d->setEnd(std::move(noticed), patience, std::move(overdue));
}

void TcpConnection::receive(Receive handler)
{
    d->receive(std::move(handler));
}

void TcpConnection::send(QByteArray data, SendCompletion completion)
{
    d->send(std::move(data), std::move(completion));
}

void TcpConnection::cancel()
{
    d->cancel();
}

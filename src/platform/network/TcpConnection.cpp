#include "platform/network/TcpConnection.h"

#include "platform/threads/SerialQueue.h"

#include <QList>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct Address {
    sockaddr_storage storage = {};
    socklen_t length = 0;
};

NetworkError networkError(int code)
{
    return {code, QString::fromStdString(std::generic_category().message(code))};
}

std::optional<Address> numericAddress(const QByteArray& text, quint16 port)
{
    Address address;
    auto* const v4 = reinterpret_cast<sockaddr_in*>(&address.storage);
    if (::inet_pton(AF_INET, text.constData(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(port);
        address.length = sizeof *v4;
        return address;
    }
    auto* const v6 = reinterpret_cast<sockaddr_in6*>(&address.storage);
    if (::inet_pton(AF_INET6, text.constData(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(port);
        address.length = sizeof *v6;
        return address;
    }
    return std::nullopt;
}

std::vector<Address> addresses(const QString& host, quint16 port)
{
    std::vector<Address> result;
    const QList<QByteArray> texts = host == "localhost"_L1 ? QList<QByteArray>{"127.0.0.1", "::1"}
                                                           : QList<QByteArray>{host.toLatin1()};
    for (const QByteArray& text : texts) {
        if (const auto address = numericAddress(text, port)) {
            result.push_back(*address);
        }
    }
    return result;
}

// A port that nobody listens on may be the very one that the system picks for the calling side: the
// socket is then connected to itself.
bool isOwnEcho(int socket)
{
    Address own;
    Address peer;
    own.length = peer.length = sizeof(sockaddr_storage);
    return ::getsockname(socket, reinterpret_cast<sockaddr*>(&own.storage), &own.length) == 0 &&
           ::getpeername(socket, reinterpret_cast<sockaddr*>(&peer.storage), &peer.length) == 0 &&
           own.length == peer.length && std::memcmp(&own.storage, &peer.storage, own.length) == 0;
}

} // namespace

// Shared with the callbacks that are on their way, which may outlive the connection on the queue.
class TcpConnection::Private : public std::enable_shared_from_this<TcpConnection::Private> {
public:
    Private(const QString& host, quint16 port) : m_addresses(addresses(host, port)) {}
    ~Private()
    {
        for (const int descriptor : {m_socket, m_wake}) {
            if (descriptor >= 0) {
                ::close(descriptor);
            }
        }
    }

    void setStateHandler(StateHandler handler)
    {
        const std::lock_guard lock(m_mutex);
        m_stateHandler = std::move(handler);
    }

    void start(SerialQueue& queue)
    {
        m_queue = &queue;
        m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        m_thread = std::thread([this] { run(); });
        ::pthread_setname_np(m_thread.native_handle(), "link");
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
            if (m_isReady && m_outgoing.empty()) {
                // At once, so that what is said last leaves although the process ends right after.
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
            m_stateHandler = nullptr;
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

    // Hands the system what it takes of the message without waiting.
    void put(Outgoing& message) const
    {
        while (!message.isOver()) {
            const ssize_t count =
                ::send(m_socket, message.data.constData() + message.sent,
                       static_cast<std::size_t>(message.data.size() - message.sent), MSG_NOSIGNAL);
            if (count >= 0) {
                message.sent += count;
            } else if (errno == EAGAIN) {
                return;
            } else if (errno != EINTR) {
                message.error = networkError(errno);
            }
        }
    }

    // What a read counts for while it waits: its bytes, and the room that even one byte takes.
    static qsizetype cost(const QByteArray& data) { return data.size() + 64; }

    void wake()
    {
        if (m_wake >= 0) {
            const std::uint64_t one = 1;
            // A counter that is full has woken the thread already.
            [[maybe_unused]] const auto written = ::write(m_wake, &one, sizeof one);
        }
    }

    void report(State state, std::optional<NetworkError> error = std::nullopt)
    {
        m_queue->post([self = shared_from_this(), state, error = std::move(error)] {
            StateHandler handler;
            {
                const std::lock_guard lock(self->m_mutex);
                handler = self->m_stateHandler;
            }
            if (handler) {
                handler(state, error);
            }
        });
    }

    // With the mutex held: hands the next read, or the end, to whoever waits for it.
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
            {
                const std::lock_guard lock(self->m_mutex);
                if (self->m_cancelled) {
                    return;
                }
            }
            handler(data, isComplete, error);
        });
    }

    void run()
    {
        report(State::Preparing);
        if (const auto error = connectToAny()) {
            const bool unreachable = error->code == ECONNREFUSED || error->code == ENETUNREACH ||
                                     error->code == EHOSTUNREACH || error->code == ETIMEDOUT ||
                                     error->code == EADDRNOTAVAIL;
            report(unreachable ? State::Waiting : State::Failed, error);
            return;
        }
        {
            const std::lock_guard lock(m_mutex);
            m_isReady = true;
        }
        report(State::Ready);
        exchange();
    }

    // Returns the first address's error where no address answers, or none when connected.
    std::optional<NetworkError> connectToAny()
    {
        std::optional<NetworkError> first;
        for (const Address& address : m_addresses) {
            const int error = connectTo(address);
            if (error == 0) {
                return std::nullopt;
            }
            if (!first) {
                first = networkError(error);
            }
        }
        return first ? first : networkError(EADDRNOTAVAIL);
    }

    // Returns zero when connected, else an errno value.
    int connectTo(const Address& address)
    {
        const int candidate =
            ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (candidate < 0) {
            return errno;
        }
        int error = 0;
        if (::connect(candidate, reinterpret_cast<const sockaddr*>(&address.storage),
                      address.length) != 0) {
            error = errno == EINPROGRESS ? awaitConnection(candidate) : errno;
        }
        if (error == 0 && isOwnEcho(candidate)) {
            error = ECONNREFUSED;
        }
        if (error != 0) {
            ::close(candidate);
            return error;
        }
        // Every message leaves at once.
        const int on = 1;
        ::setsockopt(candidate, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_socket = candidate;
        return 0;
    }

    int awaitConnection(int candidate)
    {
        for (;;) {
            std::array<pollfd, 2> descriptors = {{{candidate, POLLOUT, 0}, {m_wake, POLLIN, 0}}};
            if (::poll(descriptors.data(), descriptors.size(), -1) < 0) {
                continue;
            }
            if (descriptors[0].revents != 0) {
                int error = 0;
                socklen_t length = sizeof error;
                ::getsockopt(candidate, SOL_SOCKET, SO_ERROR, &error, &length);
                return error;
            }
            drainWakes();
            const std::lock_guard lock(m_mutex);
            if (m_cancelled) {
                return ECANCELED;
            }
        }
    }

    void drainWakes()
    {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = ::read(m_wake, &count, sizeof count);
    }

    // Moves bytes until the connection is cancelled.
    void exchange()
    {
        for (;;) {
            short interest = 0;
            {
                const std::lock_guard lock(m_mutex);
                if (m_cancelled) {
                    ::shutdown(m_socket, SHUT_RDWR);
                    return;
                }
                const bool isOver = m_ended || m_readError.has_value();
                if (!isOver && m_waitingBytes < kReadAhead) {
                    interest |= POLLIN;
                }
                if (!m_outgoing.empty()) {
                    interest |= POLLOUT;
                }
            }
            // Without interest a broken link would still be reported, over and over.
            std::array<pollfd, 2> descriptors = {
                {{m_wake, POLLIN, 0}, {interest != 0 ? m_socket : -1, interest, 0}}};
            if (::poll(descriptors.data(), descriptors.size(), -1) < 0) {
                continue;
            }
            if (descriptors[0].revents != 0) {
                drainWakes();
            }
            if ((descriptors[1].revents & (POLLOUT | POLLERR | POLLHUP)) != 0) {
                writeSome();
            }
            if ((interest & POLLIN) != 0 &&
                (descriptors[1].revents & (POLLIN | POLLERR | POLLHUP)) != 0) {
                readOnce();
            }
        }
    }

    void readOnce()
    {
        const ssize_t got = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
        const int error = errno;
        if (got < 0 && (error == EAGAIN || error == EINTR)) {
            return;
        }
        const std::lock_guard lock(m_mutex);
        if (got > 0) {
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

    const std::vector<Address> m_addresses;
    SerialQueue* m_queue = nullptr;
    int m_socket = -1; // set once, before m_isReady
    int m_wake = -1;   // an eventfd
    std::array<char, kMaximumReceive> m_buffer;
    std::thread m_thread;

    std::mutex m_mutex; // guards what follows
    StateHandler m_stateHandler;
    Receive m_receiver;
    std::deque<QByteArray> m_incoming;
    qsizetype m_waitingBytes = 0;
    bool m_ended = false;
    std::optional<NetworkError> m_readError;
    std::deque<Outgoing> m_outgoing;
    bool m_isReady = false;
    bool m_cancelled = false;
};

TcpConnection::TcpConnection(const QString& host, quint16 port)
    : d(std::make_shared<Private>(host, port))
{}

TcpConnection::~TcpConnection()
{
    d->cancel();
    d->join();
}

void TcpConnection::setStateHandler(StateHandler handler)
{
    d->setStateHandler(std::move(handler));
}

void TcpConnection::start(SerialQueue& queue)
{
    d->start(queue);
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

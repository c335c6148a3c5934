#include "platform/network/TcpConnection.h"

#include "platform/files/SystemError.h"
#include "platform/network/TcpPeer.h"
#include "platform/threads/Thread.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kLongestRead = 65'536;
constexpr qsizetype kReadAhead = 1024 * 1024; // bytes that may wait to be received

// What a waiting read takes of the memory: its bytes and the object that holds them.
qsizetype cost(const QByteArray& data)
{
    return data.size() + 64;
}

} // namespace

TcpConnection::TcpConnection(quint16 port, AccountCheck accountCheck)
    : m_port(port), m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_peer(std::make_unique<TcpPeer>(std::move(accountCheck)))
{}

TcpConnection::~TcpConnection()
{
    cancel();
}

void TcpConnection::start(Handlers handlers, std::chrono::milliseconds endTimeout)
{
    m_handlers = std::move(handlers);
    m_endTimeout = endTimeout;
    m_thread = Thread::start("Client connection Q", [this] { run(); });
}

void TcpConnection::resume()
{
    m_isReady = true;
    wake();
}

void TcpConnection::await(Descriptor descriptor, std::function<bool()> then)
{
    m_awaited = std::move(descriptor);
    m_then = std::move(then);
}

void TcpConnection::send(QByteArray data)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_cancelled) {
            return;
        }
        Outgoing message{std::move(data)};
        if (m_socket.isOpen() && m_outgoing.empty()) {
            // At once: the process may end right after its last message.
            put(message);
        }
        m_outgoing.push_back(std::move(message));
    }
    wake();
}

bool TcpConnection::cancel()
{
    const std::lock_guard lock(m_mutex);
    const bool isFirst = !std::exchange(m_cancelled, true);
    wake();
    return isFirst;
}

void TcpConnection::wake() const
{
    // Fails where the counter is full and has woken the thread.
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = ::write(m_wake.value(), &one, sizeof one);
}

// With the mutex held: gives the system as much of the message as it takes without waiting.
void TcpConnection::put(Outgoing& message) const
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
            message.error = systemErrorText(errno);
        }
    }
}

void TcpConnection::run()
{
    auto [socket, error] = m_peer->connect(m_port);
    if (error) {
        end(error);
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_cancelled) {
            return;
        }
        m_socket = std::move(socket);
    }
    m_handlers.connected();
    while (exchange()) {
        deliver();
    }
    ::shutdown(m_socket.value(), SHUT_RDWR);
}

void TcpConnection::end(const std::optional<QString>& error)
{
    if (cancel()) {
        m_handlers.ended(error);
    }
}

// Hands on what waits, as long as the owner is ready for it.
void TcpConnection::deliver()
{
    for (;;) {
        std::deque<qsizetype> sent;
        {
            const std::lock_guard lock(m_mutex);
            if (!m_isReady || m_cancelled) {
                return;
            }
            sent.swap(m_sent);
            m_isReady = m_incoming.empty();
        }
        std::for_each(sent.begin(), sent.end(), m_handlers.sent);
        if (m_incoming.empty()) {
            break;
        }
        const QByteArray data = std::move(m_incoming.front());
        m_incoming.pop_front();
        m_waitingBytes -= cost(data);
        if (m_handlers.received(data)) {
            m_isReady = true;
        }
    }
    if (m_isOver) {
        end(m_readError);
    }
}

// Waits for something, and moves bytes. False when the connection is cancelled.
bool TcpConnection::exchange()
{
    int wanted = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (m_cancelled) {
            return false;
        }
        wanted = interest();
    }
    // Where nothing is wanted the socket is left out: poll() reports a broken one always.
    std::array<pollfd, 3> descriptors = {
        {{m_wake.value(), POLLIN, 0},
         {wanted != 0 ? m_socket.value() : -1, static_cast<short>(wanted), 0},
         {m_awaited.value(), POLLIN, 0}}};
    const int ready = ::poll(descriptors.data(), descriptors.size(), untilOverdue());
    if (ready == 0) {
        end(unreadError());
    }
    if (ready <= 0) {
        return true;
    }
    if (descriptors[0].revents != 0) {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = ::read(m_wake.value(), &count, sizeof count);
    }
    const int events = descriptors[1].revents;
    writeSome();
    if ((wanted & POLLIN) != 0 && (events & (POLLIN | POLLERR | POLLHUP)) != 0) {
        readOnce();
    } else if ((events & (POLLRDHUP | POLLERR | POLLHUP)) != 0) {
        noteEnd(); // behind what is still to be read
    }
    if (descriptors[2].revents != 0) {
        m_awaited.close();
        if (std::exchange(m_then, nullptr)()) {
            m_isReady = true;
        }
    }
    return true;
}

// With the mutex held: what the socket is to be polled for.
int TcpConnection::interest() const
{
    const int writing = m_outgoing.empty() ? 0 : POLLOUT;
    if (!m_isOver && m_waitingBytes < kReadAhead) {
        return writing | POLLIN;
    }
    return m_endSeen ? writing : writing | POLLRDHUP;
}

// The milliseconds for poll().
int TcpConnection::untilOverdue() const
{
    if (!m_endSeen) {
        return -1;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*m_endSeen + m_endTimeout - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

// The error that waits behind the bytes that were not read.
std::optional<QString> TcpConnection::unreadError() const
{
    int code = 0;
    socklen_t length = sizeof code;
    ::getsockopt(m_socket.value(), SOL_SOCKET, SO_ERROR, &code, &length);
    // EPIPE: the peer had closed before it was sent something.
    return code != 0 && code != EPIPE ? std::optional(systemErrorText(code)) : m_readError;
}

void TcpConnection::noteEnd()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_endSeen) {
            return;
        }
        m_endSeen = Clock::now();
    }
    m_handlers.endNoticed();
}

void TcpConnection::readOnce()
{
    int waiting = 0;
    ::ioctl(m_socket.value(), FIONREAD, &waiting);
    // None at the end, or where it came only now.
    QByteArray data(waiting > 0 ? std::min(waiting, kLongestRead) : kLongestRead,
                    Qt::Uninitialized);
    const ssize_t got =
        ::recv(m_socket.value(), data.data(), static_cast<std::size_t>(data.size()), 0);
    const int error = errno;
    if (got < 0 && (error == EAGAIN || error == EINTR)) {
        return;
    }
    // Something was received: so a program has taken the connection from the queue.
    const auto refusal = got > 0 && m_peer->isPending() ? m_peer->check(m_socket) : std::nullopt;
    if (got > 0 && !refusal) {
        data.truncate(got);
        m_incoming.push_back(std::move(data));
        m_waitingBytes += cost(m_incoming.back());
        return;
    }
    m_isOver = true;
    if (got != 0) {
        const std::lock_guard lock(m_mutex);
        m_readError = refusal ? refusal : systemErrorText(error);
    }
    noteEnd();
}

void TcpConnection::writeSome()
{
    std::optional<QString> error;
    {
        const std::lock_guard lock(m_mutex);
        while (!error && !m_outgoing.empty()) {
            Outgoing& message = m_outgoing.front();
            put(message);
            if (!message.isOver()) {
                return;
            }
            error = message.error;
            m_sent.push_back(message.data.size());
            m_outgoing.pop_front();
        }
    }
    if (error) {
        end(error); // at once: what was not received yet is dropped
    }
}

#include "platform/network/TcpPeer.h"

#include "platform/files/SystemError.h"

#include <QByteArray>
#include <QList>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kOn = 1;
constexpr std::chrono::seconds kLongestWait(5); // for a connection within the machine

struct Address {
    sockaddr_storage storage = {};
    socklen_t length = sizeof(sockaddr_storage);

    sockaddr* pointer() { return reinterpret_cast<sockaddr*>(&storage); }
};

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

// Where nobody listens on a port, the system may choose that very port for the calling side: the
// socket is then connected to itself.
bool isConnectedToItself(const Descriptor& socket)
{
    Address own;
    Address peer;
    return ::getsockname(socket.value(), own.pointer(), &own.length) == 0 &&
           ::getpeername(socket.value(), peer.pointer(), &peer.length) == 0 &&
           own.length == peer.length && std::memcmp(&own.storage, &peer.storage, own.length) == 0;
}

// Returns zero when connected, else an errno value.
int awaitConnection(const Descriptor& socket, const Descriptor& wake,
                    const std::function<bool()>& isCancelled)
{
    const auto end = Clock::now() + kLongestWait;
    for (;;) {
        std::array<pollfd, 2> watched = {{{socket.value(), POLLOUT, 0}, {wake.value(), POLLIN, 0}}};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) {
            return ETIMEDOUT; // the listener's queue is full, say
        }
        if (::poll(watched.data(), watched.size(), static_cast<int>(left.count())) <= 0) {
            continue;
        }
        if (watched[0].revents != 0) {
            int error = 0;
            socklen_t length = sizeof error;
            ::getsockopt(socket.value(), SOL_SOCKET, SO_ERROR, &error, &length);
            return error;
        }
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = ::read(wake.value(), &count, sizeof count);
        if (isCancelled()) {
            return ECANCELED;
        }
    }
}

// Returns zero and an open socket when connected, else an errno value.
int connectTo(Address address, Descriptor& socket, const Descriptor& wake,
              const std::function<bool()>& isCancelled)
{
    socket = Descriptor(
        ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // Before connecting: with the usual window, which begins small, the kernel may send a message
    // of 65,536 bytes in parts, and it would come in two reads.
    const int window = 256 * 1024;
    ::setsockopt(socket.value(), SOL_SOCKET, SO_RCVBUF, &window, sizeof window);
    // The handshake's last packet waits for TCP_QUICKACK, 200 ms at most. Until it comes nobody can
    // take the connection out of the listener's queue, and close it, before it has been looked at.
    ::setsockopt(socket.value(), IPPROTO_TCP, TCP_DEFER_ACCEPT, &kOn, sizeof kOn);
    int error = 0;
    if (!socket.isOpen() || ::connect(socket.value(), address.pointer(), address.length) != 0) {
        error = errno;
    }
    if (error == EINPROGRESS) {
        error = awaitConnection(socket, wake, isCancelled);
    }
    if (error == 0 && isConnectedToItself(socket)) {
        error = ECONNREFUSED;
    }
    // Every message leaves at once.
    ::setsockopt(socket.value(), IPPROTO_TCP, TCP_NODELAY, &kOn, sizeof kOn);
    return error;
}

} // namespace

TcpPeer::Connected TcpPeer::connect(const QString& host, quint16 port, PeerCheck& check,
                                    const Descriptor& wake,
                                    const std::function<bool()>& isCancelled)
{
    const QList<QByteArray> texts = host == "localhost"_L1 ? QList<QByteArray>{"127.0.0.1", "::1"}
                                                           : QList<QByteArray>{host.toLatin1()};
    std::optional<NetworkError> firstError;
    std::optional<NetworkError> firstRefusal;
    for (const QByteArray& text : texts) {
        const auto address = numericAddress(text, port);
        Descriptor socket;
        const int code = address ? connectTo(*address, socket, wake, isCancelled) : EADDRNOTAVAIL;
        auto refusal = code == 0 ? check.check(socket) : std::nullopt;
        if (code == 0 && !refusal) {
            ::setsockopt(socket.value(), IPPROTO_TCP, TCP_QUICKACK, &kOn, sizeof kOn);
            return {std::move(socket)};
        }
        if (code == ECANCELED) {
            return {{}, NetworkError{code, systemErrorText(code)}};
        }
        if (refusal && !firstRefusal) {
            firstRefusal = refusal;
        } else if (code != 0 && !firstError) {
            firstError = NetworkError{code, systemErrorText(code)};
        }
    }
    return {{}, firstRefusal ? firstRefusal : firstError};
}

#include "platform/network/TcpPeer.h"

#include "platform/files/SystemError.h"
#include "platform/network/SocketOwners.h"

#include <array>
#include <cerrno>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using State = SocketOwners::Peer::State;

namespace {

constexpr int kOn = 1;

std::array<sockaddr_storage, 2> loopbackAddresses(quint16 port)
{
    std::array<sockaddr_storage, 2> addresses = {};
    auto& v4 = reinterpret_cast<sockaddr_in&>(addresses[0]);
    addresses[0].ss_family = AF_INET;
    v4.sin_port = htons(port);
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto& v6 = reinterpret_cast<sockaddr_in6&>(addresses[1]);
    addresses[1].ss_family = AF_INET6;
    v6.sin6_port = htons(port);
    v6.sin6_addr = in6addr_loopback;
    return addresses;
}

TcpPeer::Connected connectTo(const sockaddr_storage& address)
{
    Descriptor socket(::socket(address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen()) {
        return {{}, systemErrorText(errno)};
    }
    // Before connecting: with the usual window, which begins small, the kernel may send a message
    // of 65,536 bytes in parts, and it would come in two reads.
    const int window = 256 * 1024;
    ::setsockopt(socket.value(), SOL_SOCKET, SO_RCVBUF, &window, sizeof window);
    // The handshake's last packet waits for TCP_QUICKACK, 200 ms at most. Until it comes nobody can
    // take the connection out of the listener's queue, and close it, before it has been looked at.
    ::setsockopt(socket.value(), IPPROTO_TCP, TCP_DEFER_ACCEPT, &kOn, sizeof kOn);
    const timeval longestWait = {.tv_sec = 5, .tv_usec = 0}; // the listener's queue is full, say
    ::setsockopt(socket.value(), SOL_SOCKET, SO_SNDTIMEO, &longestWait, sizeof longestWait);
    // The kernel takes a length beyond that of the address. Where the program was stopped meanwhile
    // (SIGSTOP), the next call goes on waiting.
    const auto* const peer = reinterpret_cast<const sockaddr*>(&address);
    if (TEMP_FAILURE_RETRY(::connect(socket.value(), peer, sizeof address)) != 0) {
        const bool isOverdue = errno == EINPROGRESS || errno == EALREADY; // by SO_SNDTIMEO
        return {{}, systemErrorText(isOverdue ? ETIMEDOUT : errno)};
    }
    // Every message leaves at once, and from here on the connection's thread waits with poll().
    ::setsockopt(socket.value(), IPPROTO_TCP, TCP_NODELAY, &kOn, sizeof kOn);
    ::fcntl(socket.value(), F_SETFL, O_NONBLOCK);
    return {std::move(socket)};
}

} // namespace

TcpPeer::Connected TcpPeer::connect(quint16 port)
{
    std::optional<QString> firstError;
    std::optional<QString> firstRefusal;
    for (const sockaddr_storage& address : loopbackAddresses(port)) {
        Connected connected = connectTo(address);
        if (connected.error) {
            firstError = firstError ? firstError : connected.error;
        } else if (const auto refusal = check(connected.socket)) {
            firstRefusal = firstRefusal ? firstRefusal : refusal;
        } else {
            ::setsockopt(connected.socket.value(), IPPROTO_TCP, TCP_QUICKACK, &kOn, sizeof kOn);
            return connected;
        }
    }
    return {{}, firstRefusal ? firstRefusal : firstError};
}

std::optional<QString> TcpPeer::check(const Descriptor& connection)
{
    const auto [state, uid, listener] = SocketOwners::peerOf(connection);
    const bool wasPending = std::exchange(m_isPending, false);
    if (state == State::Unknown) {
        return u"the system does not tell which account the service runs as"_s;
    }
    if (state == State::Reset) {
        return systemErrorText(ECONNRESET);
    }
    // What was in the queue of a trusted listener was taken from there, also where that listener
    // has gone since.
    if (!wasPending) {
        // A socket that nobody listens for may also be connected to itself: the system may choose
        // the service's own port for the calling side.
        if (!listener) {
            return u"nobody listens on the service's port any more"_s;
        }
        // The kernel itself holds the end of some kinds of socket (SMC), as root, whoever listens.
        if (auto refusal = m_accountCheck(*listener)) {
            return refusal;
        }
        // A socket that was bound to the address before the listener may have had that end.
        if (state == State::Closed) {
            return u"nobody has the service's end of the link"_s;
        }
    }
    m_isPending = state == State::Queued;
    return state == State::Accepted ? m_accountCheck(uid) : std::nullopt;
}

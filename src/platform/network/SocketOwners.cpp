#include "platform/network/SocketOwners.h"

#include "platform/files/Descriptor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>

using SocketOwners::Peer;

namespace {

// Each network namespace has its loopback device under this number.
constexpr std::uint32_t kLoopback = 1;

// The address of one end, in network byte order; an IPv4 address fills the first word only.
struct End {
    int family = AF_UNSPEC;
    std::array<std::uint32_t, 4> address = {};
    std::uint16_t port = 0;
};

std::optional<End> endBy(int (*call)(int, sockaddr*, socklen_t*), int socket)
{
    sockaddr_storage storage = {};
    socklen_t length = sizeof storage;
    if (call(socket, reinterpret_cast<sockaddr*>(&storage), &length) != 0) {
        return std::nullopt;
    }
    if (storage.ss_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(storage);
        return End{AF_INET, {v4.sin_addr.s_addr}, v4.sin_port};
    }
    const auto& v6 = reinterpret_cast<const sockaddr_in6&>(storage);
    End end{AF_INET6, {}, v6.sin6_port};
    std::memcpy(end.address.data(), &v6.sin6_addr, sizeof v6.sin6_addr);
    return end;
}

// The reply is there as soon as the request has been sent.
std::optional<inet_diag_msg> replyFrom(const Descriptor& diagnosis)
{
    struct {
        nlmsghdr header = {};
        inet_diag_msg message = {};
    } reply; // what follows in it is dropped
    const ssize_t length = ::recv(diagnosis.value(), &reply, sizeof reply, MSG_DONTWAIT);
    const bool isFound = length == sizeof reply && reply.header.nlmsg_type == SOCK_DIAG_BY_FAMILY;
    return isFound ? std::optional(reply.message) : std::nullopt;
}

// The socket with these two ends or, without the second one, the listener that takes connections to
// the first. None where there is no such socket, or where the kernel can't be asked: a
// kernel without socket diagnosis replies as if there were no such socket. One that belongs to no
// process has the inode 0, and root for its owner whoever had it.
std::optional<inet_diag_msg> find(const End& local, const End* remote)
{
    const Descriptor diagnosis(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    struct {
        nlmsghdr header = {};
        inet_diag_req_v2 request = {};
    } message;
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST;
    message.request.sdiag_family = static_cast<std::uint8_t>(local.family);
    message.request.sdiag_protocol = IPPROTO_TCP;
    inet_diag_sockid& id = message.request.id;
    std::memcpy(id.idiag_src, local.address.data(), sizeof id.idiag_src);
    id.idiag_sport = local.port;
    if (remote != nullptr) {
        std::memcpy(id.idiag_dst, remote->address.data(), sizeof id.idiag_dst);
        id.idiag_dport = remote->port;
    }
    id.idiag_if = kLoopback;
    id.idiag_cookie[0] = id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    if (::send(diagnosis.value(), &message, sizeof message, 0) != sizeof message) {
        return std::nullopt;
    }
    const auto found = replyFrom(diagnosis);
    // Where no socket has both ends, the kernel replies with the listener.
    const bool isAsked = found && (found->idiag_state == TCP_LISTEN) == (remote == nullptr);
    return isAsked ? found : std::nullopt;
}

std::optional<quint32> listenerAt(const End& end)
{
    const auto socket = find(end, nullptr);
    return socket ? std::optional(socket->idiag_uid) : std::nullopt;
}

// A socket of this process must be found, with the inode under which it is open here.
bool isOwn(const std::optional<inet_diag_msg>& found, int descriptor)
{
    struct stat status = {};
    return found && ::fstat(descriptor, &status) == 0 && found->idiag_inode == status.st_ino;
}

// Whether the kernel finds a listener of our own.
bool canAsk()
{
    const Descriptor own(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK); // any free port
    if (!own.isOpen() ||
        ::bind(own.value(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(own.value(), 1) != 0) {
        return false;
    }
    const auto end = endBy(&::getsockname, own.value());
    return end && isOwn(find(*end, nullptr), own.value());
}

} // namespace

std::optional<QList<quint32>> SocketOwners::listenersAt(quint16 port)
{
    QList<quint32> owners;
    for (const End& end : {End{AF_INET, {htonl(INADDR_LOOPBACK)}, htons(port)},
                           End{AF_INET6, {0, 0, 0, htonl(1)}, htons(port)}}) {
        const auto listener = listenerAt(end);
        if (listener && !owners.contains(*listener)) {
            owners.append(*listener);
        }
    }
    return !owners.isEmpty() || canAsk() ? std::optional(owners) : std::nullopt;
}

Peer SocketOwners::peerOf(const Descriptor& connection)
{
    using State = Peer::State;
    const auto own = endBy(&::getsockname, connection.value());
    const auto peer = endBy(&::getpeername, connection.value());
    // The listener is asked first: if the connection is found in a queue afterwards, it is that
    // listener's.
    const auto listener = peer ? listenerAt(*peer) : std::nullopt;
    const auto found = own && peer ? find(*peer, &*own) : std::nullopt;
    // Our own end is asked last. Had it been reset meanwhile, what was found before could be
    // another connection with the same two addresses.
    if (!own || !peer || !isOwn(find(*own, &*peer), connection.value())) {
        return {endBy(&::getpeername, connection.value()) ? State::Unknown : State::Reset, 0, {}};
    }
    if (found && found->idiag_inode != 0) {
        return {State::Accepted, found->idiag_uid, listener};
    }
    // An end without an inode is certainly in the queue only while the handshake goes on.
    return {found && found->idiag_state == TCP_SYN_RECV ? State::Queued : State::Closed, 0,
            listener};
}

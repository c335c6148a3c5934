#include "platform/network/PeerOwner.h"

#include "platform/network/SocketLookup.h"

#include <cstring>
#include <optional>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;
using PeerOwner::Answer;
using PeerOwner::State;
using SocketLookup::Diagnosis;
using SocketLookup::End;
using SocketLookup::Socket;
using SocketLookup::Tables;

namespace {

struct Connection {
    int family = AF_UNSPEC;
    End peer;
    End own;
};

using Name = int (*)(int, sockaddr*, socklen_t*);

std::optional<End> endOf(const Descriptor& socket, Name name, int& family)
{
    sockaddr_storage storage = {};
    socklen_t length = sizeof storage;
    if (name(socket.value(), reinterpret_cast<sockaddr*>(&storage), &length) != 0) {
        return std::nullopt;
    }
    End end;
    family = storage.ss_family;
    if (family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(storage);
        end.address[0] = v4.sin_addr.s_addr;
        end.port = v4.sin_port;
    } else if (family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(storage);
        std::memcpy(end.address.data(), &v6.sin6_addr, sizeof v6.sin6_addr);
        end.port = v6.sin6_port;
    } else {
        return std::nullopt;
    }
    return end;
}

// None where the connection has been reset.
std::optional<Connection> connectionOf(const Descriptor& socket)
{
    Connection connection;
    const auto peer = endOf(socket, &::getpeername, connection.family);
    const auto own = endOf(socket, &::getsockname, connection.family);
    if (!peer || !own) {
        return std::nullopt;
    }
    connection.peer = *peer;
    connection.own = *own;
    return connection;
}

// Asks one source. `lookUp` finds the socket with these two ends or, without the second one, the
// listener at the first; it returns none where the source can't be asked, and a socket whose state
// is 0 where there is no such one.
template <typename Lookup>
Answer answerOf(const Connection& connection, Lookup lookUp)
{
    const std::optional<Socket> before = lookUp(connection.peer, &connection.own);
    const std::optional<Socket> listener = lookUp(connection.peer, nullptr);
    // Looked at again: in between the connection may have been accepted, and its listener be
    // another one. While it is queued there is only the one listener that queued it.
    const std::optional<Socket> peer = lookUp(connection.peer, &connection.own);
    if (!before || !listener || !peer) {
        return {};
    }
    const auto isQueued = [](const Socket& socket) {
        return socket.inode == 0 &&
               (socket.state == TCP_ESTABLISHED || socket.state == TCP_SYN_RECV);
    };
    const auto listening =
        listener->state == TCP_LISTEN ? std::optional(listener->owner) : std::nullopt;
    if (peer->inode != 0) {
        return {State::Accepted, peer->owner, listening};
    }
    return isQueued(*before) && isQueued(*peer) && listening
               ? Answer{State::Waiting, *listening, listening}
               : Answer{State::Closed};
}

} // namespace

Answer PeerOwner::bySocketDiagnosis(const Descriptor& connection)
{
    const auto ends = connectionOf(connection);
    return ends ? answerOf(*ends, Diagnosis(ends->family)) : Answer{State::Closed};
}

Answer PeerOwner::byTables(const Descriptor& connection, const QString& folder)
{
    const auto ends = connectionOf(connection);
    return ends ? answerOf(*ends, Tables(ends->family, folder)) : Answer{State::Closed};
}

Answer PeerOwner::of(const Descriptor& connection)
{
    const Answer answer = bySocketDiagnosis(connection);
    return answer.state != State::Unknown ? answer
                                          : byTables(connection, u"/proc/thread-self/net"_s);
}

#include "platform/network/PeerOwner.h"

#include "platform/files/RegularFile.h"

#include <QByteArray>
#include <QByteArrayList>

#include <array>
#include <cstddef>
#include <cstring>
#include <optional>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;
using PeerOwner::Answer;
using PeerOwner::State;

namespace {

// One end of a connection, in network byte order; an IPv4 address fills the first word only.
struct End {
    std::array<std::uint32_t, 4> address = {};
    std::uint16_t port = 0;
};

struct Connection {
    int family = AF_UNSPEC;
    End peer;
    End own;
};

// What the kernel tells of one socket. One that belongs to no process has the inode 0, and root for
// its owner whoever had it.
struct Socket {
    int state = 0; // TCP_ESTABLISHED and so on
    std::uint32_t owner = 0;
    std::uint64_t inode = 0;
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

// The kernel's own look-up of a socket by the addresses.
class Diagnosis {
public:
    explicit Diagnosis(int family)
        : m_family(family),
          m_socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG))
    {}

    std::optional<Socket> operator()(const End& local, const End* remote) const
    {
        struct {
            nlmsghdr header = {};
            inet_diag_req_v2 request = {};
        } question;
        question.header.nlmsg_len = sizeof question;
        question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
        question.header.nlmsg_flags = NLM_F_REQUEST;
        question.request.sdiag_family = static_cast<std::uint8_t>(m_family);
        question.request.sdiag_protocol = IPPROTO_TCP;
        inet_diag_sockid& id = question.request.id;
        std::memcpy(id.idiag_src, local.address.data(), sizeof id.idiag_src);
        id.idiag_sport = local.port;
        if (remote != nullptr) {
            std::memcpy(id.idiag_dst, remote->address.data(), sizeof id.idiag_dst);
            id.idiag_dport = remote->port;
        }
        id.idiag_cookie[0] = id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
        if (::send(m_socket.value(), &question, sizeof question, 0) != sizeof question) {
            return std::nullopt;
        }
        const std::optional<Socket> found = answer();
        // Where no socket has both ends, the kernel answers with the listener.
        const bool isAsked = found && (found->state == TCP_LISTEN) == (remote == nullptr);
        return isAsked || !found ? found : Socket{};
    }

private:
    // The answer is there when the question has been sent.
    [[nodiscard]] std::optional<Socket> answer() const
    {
        alignas(nlmsghdr) std::array<char, 4096> buffer = {};
        const ssize_t length = ::recv(m_socket.value(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        nlmsghdr header = {};
        inet_diag_msg message = {};
        if (length < static_cast<ssize_t>(NLMSG_LENGTH(sizeof message))) {
            return std::nullopt;
        }
        std::memcpy(&header, buffer.data(), sizeof header);
        if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY) {
            return std::nullopt; // also where there is no such socket: the tables tell these apart
        }
        std::memcpy(&message, buffer.data() + NLMSG_HDRLEN, sizeof message);
        return Socket{message.idiag_state, message.idiag_uid, message.idiag_inode};
    }

    const int m_family;
    const Descriptor m_socket;
};

// The rows of the tables "tcp" and "tcp6".
class Tables {
public:
    Tables(int family, const QString& folder) : m_family(family), m_folder(folder) {}

    std::optional<Socket> operator()(const End& local, const End* remote) const
    {
        const End everywhere = remote != nullptr ? *remote : End{};
        // A listener may also be at all addresses.
        const std::array<End, 2> places = {local, End{{}, local.port}};
        const auto count = static_cast<std::ptrdiff_t>(remote != nullptr ? 1 : places.size());
        const bool isIPv4 = m_family == AF_INET;
        // A table takes the kernel milliseconds, so the second is read only where it is needed.
        const auto v4 = isIPv4 ? rows(u"/tcp"_s) : QByteArrayList();
        if (!v4) {
            return std::nullopt;
        }
        for (auto place = places.begin(); isIPv4 && place != places.begin() + count; ++place) {
            if (const auto socket = find(*v4, shortText(*place), shortText(everywhere))) {
                return socket;
            }
        }
        // A socket of IPv6 also serves connections of IPv4.
        const auto v6 = rows(u"/tcp6"_s); // missing where the kernel has no IPv6
        if (!v6) {
            return isIPv4 ? std::optional(Socket{}) : std::nullopt;
        }
        for (auto place = places.begin(); place != places.begin() + count; ++place) {
            if (const auto socket =
                    find(*v6, longText(*place, isIPv4), longText(everywhere, isIPv4))) {
                return socket;
            }
        }
        return Socket{};
    }

private:
    [[nodiscard]] std::optional<QByteArrayList> rows(const QString& name) const
    {
        constexpr qsizetype kLargest = 64 * 1024 * 1024;
        const auto content = RegularFile::read(m_folder + name, kLargest);
        return content.state == RegularFile::State::Read ? std::optional(content.bytes.split('\n'))
                                                         : std::nullopt;
    }

    // Words of the address as this machine stores them, and the port.
    static QByteArray portText(std::uint16_t port)
    {
        return ':' + QByteArray::number(ntohs(port), 16).rightJustified(4, '0').toUpper();
    }

    static QByteArray wordText(std::uint32_t word)
    {
        return QByteArray::number(word, 16).rightJustified(8, '0').toUpper();
    }

    static QByteArray shortText(const End& end)
    {
        return wordText(end.address[0]) + portText(end.port);
    }

    static QByteArray longText(const End& end, bool isMapped)
    {
        // The unspecified address is the same for both.
        const bool hasPrefix = isMapped && end.address[0] != 0;
        const std::array<std::uint32_t, 4> mapped = {0, 0, htonl(0xFFFF), end.address[0]};
        QByteArray text;
        for (const std::uint32_t word : hasPrefix ? mapped : end.address) {
            text += wordText(word);
        }
        return text + portText(end.port);
    }

    static std::optional<Socket> find(const QByteArrayList& rows, const QByteArray& local,
                                      const QByteArray& remote)
    {
        for (const QByteArray& row : rows) {
            // sl local_address rem_address st tx:rx tr:when retrnsmt uid timeout inode
            const QByteArrayList fields = row.simplified().split(' ');
            if (fields.size() > 9 && fields[1] == local && fields[2] == remote) {
                return Socket{fields[3].toInt(nullptr, 16), fields[7].toUInt(),
                              fields[9].toULongLong()};
            }
        }
        return std::nullopt;
    }

    const int m_family;
    const QString m_folder;
};

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

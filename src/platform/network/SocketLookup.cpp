#include "platform/network/SocketLookup.h"

#include "platform/files/RegularFile.h"

#include <QByteArray>

#include <cstddef>
#include <cstring>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;
using SocketLookup::Diagnosis;
using SocketLookup::End;
using SocketLookup::Socket;
using SocketLookup::Tables;

namespace {

// Words of the address as this machine stores them, and the port.
QByteArray portText(std::uint16_t port)
{
    return ':' + QByteArray::number(ntohs(port), 16).rightJustified(4, '0').toUpper();
}

QByteArray wordText(std::uint32_t word)
{
    return QByteArray::number(word, 16).rightJustified(8, '0').toUpper();
}

QByteArray shortText(const End& end)
{
    return wordText(end.address[0]) + portText(end.port);
}

QByteArray longText(const End& end, bool isMapped)
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

std::optional<Socket> find(const QByteArrayList& rows, const QByteArray& local,
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

} // namespace

Diagnosis::Diagnosis(int family)
    : m_family(family), m_socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG))
{}

std::optional<Socket> Diagnosis::operator()(const End& local, const End* remote) const
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

// The answer is there when the question has been sent.
std::optional<Socket> Diagnosis::answer() const
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

std::optional<Socket> Tables::operator()(const End& local, const End* remote) const
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
        if (const auto socket = find(*v6, longText(*place, isIPv4), longText(everywhere, isIPv4))) {
            return socket;
        }
    }
    return Socket{};
}

std::optional<QByteArrayList> Tables::rows(const QString& name) const
{
    constexpr qsizetype kLargest = 64 * 1024 * 1024;
    const auto content = RegularFile::read(m_folder + name, kLargest);
    return content.state == RegularFile::State::Read ? std::optional(content.bytes.split('\n'))
                                                     : std::nullopt;
}

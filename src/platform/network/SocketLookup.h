#pragma once

#include "platform/files/Descriptor.h"

#include <QByteArrayList>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>

// The two sources in which the kernel tells which TCP sockets there are. Neither opens a connection
// or waits for anybody but the kernel. Internal to the platform. Any thread.
namespace SocketLookup {

// One end of a connection, in network byte order; an IPv4 address fills the first word only.
struct End {
    std::array<std::uint32_t, 4> address = {};
    std::uint16_t port = 0;
};

// What the kernel tells of one socket. One that belongs to no process has the inode 0, and root for
// its owner whoever had it.
struct Socket {
    int state = 0; // TCP_ESTABLISHED and so on; 0 where there is no such socket
    std::uint32_t owner = 0;
    std::uint64_t inode = 0;
};

// The kernel's own look-up of a socket by its addresses: sock_diag(7). The family is AF_INET or
// AF_INET6.
class Diagnosis {
public:
    explicit Diagnosis(int family);

    // The socket with these two ends or, without the second one, the listener that takes
    // connections to the first. None where there is no such socket, or where the kernel can't be
    // asked: the answer is the same.
    [[nodiscard]] std::optional<Socket> operator()(const End& local, const End* remote) const;

private:
    [[nodiscard]] std::optional<Socket> answer() const;

    const int m_family;
    const Descriptor m_socket;
};

// The rows of the tables "tcp" and "tcp6" in a folder: "/proc/thread-self/net" on a running system
// (proc(5)). Takes the kernel milliseconds.
class Tables {
public:
    Tables(int family, const QString& folder) : m_family(family), m_folder(folder) {}

    // As above, but none only where the tables can't be read.
    [[nodiscard]] std::optional<Socket> operator()(const End& local, const End* remote) const;

private:
    [[nodiscard]] std::optional<QByteArrayList> rows(const QString& name) const;

    const int m_family;
    const QString m_folder;
};

} // namespace SocketLookup

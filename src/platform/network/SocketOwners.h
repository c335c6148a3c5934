#pragma once

#include <QList>
#include <QtGlobal>

#include <optional>

class Descriptor;
struct sockaddr_storage;

// Which accounts hold the TCP sockets of this machine. The kernel is asked by socket diagnosis
// (sock_diag(7)) as it looks a socket up for a packet on the loopback device, so that sockets that
// are bound to that device are found, too. No connection is opened, and only the kernel is waited
// for. Any thread.
namespace SocketOwners {

// The UIDs that listen at this port of 127.0.0.1 and ::1, each once. None where the kernel can't be
// asked.
[[nodiscard]] std::optional<QList<quint32>> listenersAt(quint16 port);

// What follows is internal to the platform.

struct Listener {
    quint32 uid = 0;
    quint64 cookie = 0; // the kernel's number of the socket, never used for another one

    bool operator==(const Listener&) const = default;
};

// The listener that takes connections to this address; none where there is none, or where the
// kernel can't be asked.
[[nodiscard]] std::optional<Listener> listenerAt(const sockaddr_storage& address);

struct Peer {
    enum class State {
        Accepted, // a program has taken the connection
        Queued,   // it waits in the listener's queue
        Closed,   // nobody has the other end any more, and the kernel has forgotten who had it
        Reset,    // this end is none of a connection any more
        Unknown,  // the kernel can't be asked: it does not even find this end
    };
    State state = State::Unknown;
    quint32 uid = 0; // where it is accepted
    // Who listens at the peer's address now. While the connection is queued, it is in this
    // listener's queue.
    std::optional<Listener> listener;
};
[[nodiscard]] Peer peerOf(const Descriptor& connection);

} // namespace SocketOwners

#pragma once

#include <QList>
#include <QtGlobal>

#include <optional>

class Descriptor;

// Which accounts hold the TCP sockets of this machine. The kernel is asked by socket diagnosis
// (sock_diag(7)) as it looks a socket up for a packet on the loopback device, so that sockets that
// are bound to that device are found, too. No connection is opened, and the only wait is for
// the kernel. Any thread.
namespace SocketOwners {

// The UIDs that listen at this port of 127.0.0.1 and ::1, each once. None where the kernel can't be
// asked.
[[nodiscard]] std::optional<QList<quint32>> listenersAt(quint16 port);

// What follows is internal to the platform.

struct Peer {
    enum class State {
        Accepted, // a program has taken the connection
        Queued,   // it waits in the listener's queue for the end of the handshake
        Closed,   // nobody has the other end any more, and the kernel has forgotten who had it
        Reset,    // this end belongs to no connection any more
        Unknown,  // the kernel can't be asked: it does not even find this end
    };
    State state = State::Unknown;
    quint32 uid = 0; // where it is accepted
    // The UID that listens at the peer's address now. While the connection is queued, it is in this
    // listener's queue.
    std::optional<quint32> listener;
};
[[nodiscard]] Peer peerOf(const Descriptor& connection);

} // namespace SocketOwners

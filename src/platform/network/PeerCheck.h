#pragma once

#include "platform/network/SocketOwners.h"
#include "platform/network/TcpConnection.h"

#include <optional>

class Descriptor;

// Decides whether the peer of one connection is heard. Internal to the platform; one thread.
class PeerCheck {
public:
    explicit PeerCheck(TcpConnection::AccountCheck accountCheck);

    // Returns why the peer is refused, or none if it is accepted. Called when connected, before the
    // peer's side of the handshake is complete; and, while the check is pending, again after the
    // first bytes were received and before they count.
    [[nodiscard]] std::optional<NetworkError> check(const Descriptor& connection);

    // Whether the connection still waits in the queue of a listener that may be the service: who
    // takes it from there is known only once something is received.
    [[nodiscard]] bool isPending() const { return m_isPending; }

private:
    [[nodiscard]] std::optional<NetworkError> refusalOf(quint32 uid) const;

    const TcpConnection::AccountCheck m_accountCheck;
    bool m_isPending = false;
};

#pragma once

#include "platform/files/Descriptor.h"
#include "platform/network/TcpConnection.h"

#include <optional>

// Decides whether the peer of one connection is heard. Internal to the platform; one thread.
class PeerCheck {
public:
    explicit PeerCheck(TcpConnection::OwnerCheck ownerCheck);

    // Returns why the peer may not be heard, or none where it may: once when connected, and while
    // the check is pending again after the first bytes were received and before they count.
    [[nodiscard]] std::optional<NetworkError> check(const Descriptor& connection);

    // Whether the peer, whose account was accepted as the listener, has still to take the
    // connection. Whoever sends something has taken it.
    [[nodiscard]] bool isPending() const { return m_isPending; }
    // False where the system could not tell the owner.
    [[nodiscard]] bool isOwnerKnown() const { return m_isOwnerKnown; }

private:
    const TcpConnection::OwnerCheck m_ownerCheck;
    bool m_isPending = false;
    bool m_isOwnerKnown = true;
};

#pragma once

#include "platform/files/Descriptor.h"
#include "platform/network/TcpConnection.h"

#include <optional>
#include <utility>

// The other end of a TcpConnection: reaches it, and decides whether it is heard. Internal to the
// platform; one thread.
class TcpPeer {
public:
    struct Connected {
        Descriptor socket; // does not block
        std::optional<QString> error = std::nullopt;
    };

    explicit TcpPeer(TcpConnection::AccountCheck accountCheck)
        : m_accountCheck(std::move(accountCheck))
    {}

    // Connects to a port of this machine, if the check accepts who is there: at 127.0.0.1, and then
    // at ::1 (RFC 6761, section 6.3), without asking a resolver. If neither works, the error is the
    // check's first refusal, else the first address's. Waits five seconds at most for each.
    [[nodiscard]] Connected connect(quint16 port);

    // Returns why the peer is refused, or none if it is accepted. Called when connected, before the
    // peer's side of the handshake is complete; and, while the check is pending, again after the
    // first bytes were received and before they count.
    [[nodiscard]] std::optional<QString> check(const Descriptor& connection);

    // Whether the connection still waits in the queue of a listener that may be the service: who
    // takes it from there is known only once something is received.
    [[nodiscard]] bool isPending() const { return m_isPending; }

private:
    const TcpConnection::AccountCheck m_accountCheck;
    bool m_isPending = false;
};

#pragma once

#include "platform/files/Descriptor.h"
#include "platform/network/PeerCheck.h"

#include <QString>

#include <functional>
#include <optional>

// Reaching the peer of a TcpConnection. Internal to the platform.
namespace TcpPeer {

struct Connected {
    Descriptor socket; // does not block
    std::optional<NetworkError> error = std::nullopt;
};

// Connects to a port of a host, if the check accepts the peer. "localhost" is tried at 127.0.0.1
// and then at ::1 (RFC 6761, section 6.3), without asking a resolver; any other host must be a
// numeric address. If no address works, the error is the check's first refusal, else the first
// address's.
//
// Blocks. Each time `wake`, an eventfd, has become readable, it is read and `isCancelled` asked; if
// that is true the error is ECANCELED.
[[nodiscard]] Connected connect(const QString& host, quint16 port, PeerCheck& check,
                                const Descriptor& wake, const std::function<bool()>& isCancelled);

} // namespace TcpPeer

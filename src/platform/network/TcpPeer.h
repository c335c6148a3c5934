#pragma once

#include "platform/files/Descriptor.h"

#include <QString>

#include <functional>

// Reaching the peer of a TcpConnection. Internal to the platform.
namespace TcpPeer {

struct Connected {
    Descriptor socket; // does not block
    int error = 0;     // an errno value where there is no socket
};

// Connects to a port of a host, or returns the first address's error. "localhost" is tried at
// 127.0.0.1 and then at ::1 (RFC 6761, section 6.3), without asking a resolver; any other host must
// be a numeric address.
//
// Blocks. Each time `wake`, an eventfd, has become readable, it is read and `isCancelled` asked; if
// that is true the error is ECANCELED.
[[nodiscard]] Connected connect(const QString& host, quint16 port, const Descriptor& wake,
                                const std::function<bool()>& isCancelled);

} // namespace TcpPeer

#pragma once

#include "platform/files/Descriptor.h"

#include <QString>

#include <cstdint>
#include <optional>

// Which account holds the other end of a TCP connection within this machine, as the kernel knows
// it: by its socket diagnosis (sock_diag(7)), or by the tables of proc(5) where that is denied or
// not built in. Internal to the platform. Any thread.
namespace PeerOwner {

enum class State {
    Accepted, // the owner is the account that accepted the connection
    Waiting,  // it lies in a listener's queue; the owner is the listener's
    Closed,   // nobody has the other end any more, and the kernel has forgotten who had it
    Unknown,  // neither source can be asked
};

struct Answer {
    State state = State::Unknown;
    std::uint32_t owner = 0; // a user number, where there is one
    // Who listens at the peer's address; none where nobody does any more.
    std::optional<std::uint32_t> listener = std::nullopt;
};

// Asks both sources, one after the other. Does not wait for anybody but the kernel.
[[nodiscard]] Answer of(const Descriptor& connection);

// Each source alone. The folder of tables is "/proc/thread-self/net" on a running system.
[[nodiscard]] Answer bySocketDiagnosis(const Descriptor& connection);
[[nodiscard]] Answer byTables(const Descriptor& connection, const QString& folder);

} // namespace PeerOwner

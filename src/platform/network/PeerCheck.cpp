#include "platform/network/PeerCheck.h"

#include "platform/network/PeerOwner.h"

#include <cerrno>
#include <utility>

using namespace Qt::StringLiterals;

PeerCheck::PeerCheck(TcpConnection::OwnerCheck ownerCheck) : m_ownerCheck(std::move(ownerCheck)) {}

std::optional<NetworkError> PeerCheck::check(const Descriptor& connection)
{
    using State = PeerOwner::State;
    const auto [state, owner, listener] = PeerOwner::of(connection);
    const bool wasPending = std::exchange(m_isPending, state == State::Waiting);
    switch (state) {
    case State::Accepted:
    case State::Waiting:
        if (const auto refusal = m_ownerCheck(owner, listener)) {
            return NetworkError{EACCES, *refusal};
        }
        return std::nullopt;
    case State::Closed:
        // One that was queued can only have been taken by who holds the listener.
        return wasPending ? std::nullopt
                          : std::optional(NetworkError{
                                ECONNRESET, u"the peer closed before its owner could be found"_s});
    case State::Unknown:
        m_isOwnerKnown = wasPending;
        return std::nullopt;
    }
    return std::nullopt;
}

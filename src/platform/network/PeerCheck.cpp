#include "platform/network/PeerCheck.h"

#include "platform/files/SystemError.h"

#include <cerrno>
#include <utility>

using namespace Qt::StringLiterals;
using State = SocketOwners::Peer::State;

PeerCheck::PeerCheck(TcpConnection::AccountCheck accountCheck)
    : m_accountCheck(std::move(accountCheck))
{}

std::optional<NetworkError> PeerCheck::check(const Descriptor& connection)
{
    const auto [state, uid, listener] = SocketOwners::peerOf(connection);
    const bool wasPending = std::exchange(m_isPending, false);
    if (state == State::Unknown) {
        return NetworkError{EACCES,
                            u"the system does not tell which account the service runs as"_s};
    }
    if (state == State::Reset) {
        return NetworkError{ECONNRESET, systemErrorText(ECONNRESET)};
    }
    // What was in the queue of a trusted listener was taken from there, also where that listener
    // has gone since.
    if (!wasPending) {
        if (!listener) {
            return NetworkError{ECONNRESET, u"nobody listens on the service's port any more"_s};
        }
        // The kernel itself holds the end of some kinds of socket (SMC), as root, whoever listens.
        if (const auto refusal = refusalOf(*listener)) {
            return refusal;
        }
        // A socket that was bound to the address before the listener may have had that end.
        if (state == State::Closed) {
            return NetworkError{ECONNRESET, u"nobody has the service's end of the link"_s};
        }
    }
    m_isPending = state == State::Queued;
    return state == State::Accepted ? refusalOf(uid) : std::nullopt;
}

std::optional<NetworkError> PeerCheck::refusalOf(quint32 uid) const
{
    const auto reason = m_accountCheck(uid);
    return reason ? std::optional(NetworkError{EACCES, *reason}) : std::nullopt;
}

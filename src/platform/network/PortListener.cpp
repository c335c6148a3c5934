#include "platform/network/PortListener.h"

#include "platform/network/SocketLookup.h"

#include <array>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;
using SocketLookup::Diagnosis;
using SocketLookup::End;
using SocketLookup::Tables;

namespace {

struct Place {
    int family = AF_UNSPEC;
    End end;
};

// The port, in network byte order, of the addresses to which the name localhost resolves.
std::array<Place, 2> localhost(std::uint16_t port)
{
    return {Place{AF_INET, End{{htonl(INADDR_LOOPBACK)}, port}},
            Place{AF_INET6, End{{0, 0, 0, htonl(1)}, port}}};
}

std::optional<quint32> diagnosedOwner(const Place& place)
{
    const auto socket = Diagnosis(place.family)(place.end, nullptr);
    return socket && socket->state == TCP_LISTEN ? std::optional(socket->owner) : std::nullopt;
}

// Whether the kernel's look-up works here, for it answers alike where it is denied or not built in
// and where there is no listener: a listener of our own must be found.
bool canDiagnose()
{
    const Descriptor own(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK); // any free port
    auto* const general = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    return own.isOpen() && ::bind(own.value(), general, length) == 0 &&
           ::listen(own.value(), 1) == 0 && ::getsockname(own.value(), general, &length) == 0 &&
           diagnosedOwner(localhost(address.sin_port).front());
}

} // namespace

std::optional<QList<quint32>> PortListener::ownersAt(quint16 port)
{
    QList<quint32> owners;
    const auto add = [&owners](quint32 owner) {
        if (!owners.contains(owner)) {
            owners.append(owner);
        }
    };
    const auto places = localhost(htons(port));
    for (const Place& place : places) {
        if (const auto owner = diagnosedOwner(place)) {
            add(*owner);
        }
    }
    static const bool theDiagnosisWorks = canDiagnose();
    if (!owners.isEmpty() || theDiagnosisWorks) {
        return owners;
    }
    bool isKnown = false;
    for (const Place& place : places) {
        const auto socket = Tables(place.family, u"/proc/thread-self/net"_s)(place.end, nullptr);
        if (socket && socket->state == TCP_LISTEN) {
            add(socket->owner);
        }
        isKnown = isKnown || socket;
    }
    return isKnown ? std::optional(owners) : std::nullopt;
}

#include "platform/files/Descriptor.h"
#include "platform/network/PeerCheck.h"
#include "platform/network/SocketOwners.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTest>

#include <string>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

using SocketOwners::listenersAt;
using SocketOwners::peerOf;
using State = SocketOwners::Peer::State;

// Who listens, and who has a connection's other end. Other accounts' sockets are in tst_connection.
class TestSocketOwners : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateOfAConnection()
    {
        const std::pair<QHostAddress, const char*> cases[] = {
            {QHostAddress::LocalHost, k4},
            {QHostAddress::Any, k4},
            {QHostAddress::LocalHostIPv6, "::1"},
            {QHostAddress::Any, "::ffff:127.0.0.1"},
        };
        for (const auto& [address, by] : cases) {
            QTcpServer server;
            if (!server.listen(address)) {
                QSKIP("the machine has no IPv6");
            }
            QCOMPARE(listenersAt(server.serverPort()), QList<quint32>{::getuid()});
            const Descriptor socket = connectTo(server.serverPort(), by);
            const auto is = [&socket](State state) {
                const auto peer = peerOf(socket);
                return peer.state == state && peer.listener == ::getuid();
            };
            QVERIFY(is(State::Queued));
            set(socket, IPPROTO_TCP, TCP_QUICKACK);
            QVERIFY(server.waitForNewConnection(5000));
            QVERIFY(is(State::Accepted));
            server.nextPendingConnection()->close();
            QVERIFY(is(State::Closed));
            const Descriptor queued = connectTo(server.serverPort(), by);
            set(queued, IPPROTO_TCP, TCP_QUICKACK);
            const quint16 port = server.serverPort();
            server.close(); // resets what it has not accepted
            QVERIFY(peerOf(queued).state == State::Reset && !peerOf(socket).listener);
            QCOMPARE(listenersAt(port), QList<quint32>());
        }
    }

    // A socket that had the service's address before the service listened can take a connection
    // past the listener: each end asks for the other one.
    void aConnectionPastTheListenerIsNotItsOwn()
    {
        Descriptor stranger = boundTo(0);
        const quint16 port = portOf(stranger);
        const Descriptor service = boundTo(port);
        QCOMPARE(::listen(service.value(), 0), 0);
        const Descriptor inTheQueue = boundTo(0);
        call(&::connect, inTheQueue, k4, port);
        const Descriptor own = boundTo(0);
        PeerCheck check([](quint32) -> std::optional<QString> { return {}; });
        call(&::connect, own, k4, port); // waits until the queue is not full
        call(&::connect, stranger, k4, portOf(own));
        QCOMPARE(::send(stranger.value(), "x", 1, 0), 1);
        stranger.close();
        char got = 0;
        QCOMPARE(::recv(own.value(), &got, 1, MSG_PEEK), 1);
        QVERIFY(check.check(own));
    }

private:
    static constexpr const char* k4 = "127.0.0.1";

    // bind(2) or connect(2).
    static void call(int (*function)(int, const sockaddr*, socklen_t), const Descriptor& socket,
                     const char* address, quint16 port)
    {
        addrinfo* found = nullptr;
        ::getaddrinfo(address, std::to_string(port).c_str(), nullptr, &found);
        function(socket.value(), found->ai_addr, found->ai_addrlen);
        ::freeaddrinfo(found);
    }

    static Descriptor boundTo(quint16 port)
    {
        Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        set(socket, SOL_SOCKET, SO_REUSEADDR);
        call(&::bind, socket, k4, port);
        return socket;
    }

    // The peer's side of the handshake is not complete until TCP_QUICKACK is set.
    static Descriptor connectTo(quint16 port, const char* address)
    {
        Descriptor socket(::socket(address == k4 ? AF_INET : AF_INET6, SOCK_STREAM, 0));
        set(socket, IPPROTO_TCP, TCP_DEFER_ACCEPT);
        call(&::connect, socket, address, port);
        return socket;
    }

    static void set(const Descriptor& socket, int level, int option)
    {
        const int on = 1;
        ::setsockopt(socket.value(), level, option, &on, sizeof on);
    }

    static quint16 portOf(const Descriptor& socket)
    {
        sockaddr_in own = {};
        socklen_t length = sizeof own;
        ::getsockname(socket.value(), reinterpret_cast<sockaddr*>(&own), &length);
        return ntohs(own.sin_port);
    }
};

QTEST_GUILESS_MAIN(TestSocketOwners)
#include "tst_socketowners.moc"

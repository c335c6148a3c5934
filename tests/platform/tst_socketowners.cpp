#include "platform/files/Descriptor.h"
#include "platform/network/PeerCheck.h"
#include "platform/network/SocketOwners.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <netinet/in.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using SocketOwners::listenersAt;
using SocketOwners::peerOf;
using State = SocketOwners::Peer::State;

// Who listens, and who has a connection's other end. Other accounts' sockets are in tst_connection.
class TestSocketOwners : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateOfAConnection()
    {
        const QHostAddress own4(QHostAddress::LocalHost);
        const QHostAddress own6(QHostAddress::LocalHostIPv6);
        const std::pair<QHostAddress, QHostAddress> cases[] = {
            {own4, own4},
            {QHostAddress::Any, own4},
            {own6, own6},
            {QHostAddress::Any, QHostAddress(u"::ffff:127.0.0.1"_s)},
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
                return peer.state == state && peer.listener && peer.listener->uid == ::getuid();
            };
            QVERIFY(is(State::Queued)); // before the event loop has run
            QVERIFY(server.waitForNewConnection(5000));
            QVERIFY(is(State::Accepted));
            server.nextPendingConnection()->close();
            QVERIFY(is(State::Closed));
            const auto before = peerOf(socket).listener;
            server.close();
            QVERIFY(!peerOf(socket).listener);
            QVERIFY(server.listen(address, server.serverPort()));
            QVERIFY(before != peerOf(socket).listener);
        }
    }

    void aResetConnectionIsTold()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const quint16 port = server.serverPort();
        const Descriptor socket = connectTo(port, QHostAddress::LocalHost);
        server.close(); // resets what it has not accepted
        QCOMPARE(peerOf(socket).state, State::Reset);
        QCOMPARE(listenersAt(port), QList<quint32>());
    }

    // A service may close before it is looked at, but nobody may be mistaken for it who had its
    // port before it came.
    void aPeerThatHasClosedIsItsListeners()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const quint16 port = server.serverPort();
        sockaddr_storage address = {};
        auto& v4 = reinterpret_cast<sockaddr_in&>(address);
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        PeerCheck check([](quint32) -> std::optional<QString> { return {}; });
        check.noteListener(address);
        const Descriptor socket = connectTo(port, QHostAddress::LocalHost);
        QVERIFY(server.waitForNewConnection(5000));
        server.nextPendingConnection()->close();
        QVERIFY(!check.check(socket));
        server.close();
        QVERIFY(check.check(socket));
        QVERIFY(server.listen(QHostAddress::LocalHost, port));
        QVERIFY(check.check(socket));
    }

private:
    static Descriptor connectTo(quint16 port, const QHostAddress& address)
    {
        QTcpSocket socket;
        socket.connectToHost(address, port);
        socket.waitForConnected();
        return Descriptor(::dup(static_cast<int>(socket.socketDescriptor())));
    }
};

QTEST_GUILESS_MAIN(TestSocketOwners)
#include "tst_socketowners.moc"

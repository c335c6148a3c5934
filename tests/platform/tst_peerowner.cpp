#include "platform/network/PeerOwner.h"
#include "platform/network/PortListener.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using PeerOwner::State;

namespace {

const QString kTables = u"/proc/thread-self/net"_s;

Descriptor connectTo(quint16 port, bool isIPv6)
{
    Descriptor socket(::socket(isIPv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in v4 = {};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6 = {};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    v6.sin6_addr = IN6ADDR_LOOPBACK_INIT;
    const int result = isIPv6
                           ? ::connect(socket.value(), reinterpret_cast<sockaddr*>(&v6), sizeof v6)
                           : ::connect(socket.value(), reinterpret_cast<sockaddr*>(&v4), sizeof v4);
    return result == 0 ? std::move(socket) : Descriptor();
}

} // namespace

// Who listens, and the owner of a connection's other end, by each of the kernel's two sources.
// Another account's connections are in tst_connection.
class TestPeerOwner : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateOfAConnection_data()
    {
        QTest::addColumn<QHostAddress>("address");
        QTest::addColumn<bool>("isIPv6");
        QTest::newRow("127.0.0.1") << QHostAddress(QHostAddress::LocalHost) << false;
        QTest::newRow("0.0.0.0") << QHostAddress(QHostAddress::AnyIPv4) << false;
        QTest::newRow("::1") << QHostAddress(QHostAddress::LocalHostIPv6) << true;
        QTest::newRow("both, by IPv4") << QHostAddress(QHostAddress::Any) << false;
        QTest::newRow("both, by IPv6") << QHostAddress(QHostAddress::Any) << true;
    }

    void everyStateOfAConnection()
    {
        QFETCH(const QHostAddress, address);
        QFETCH(const bool, isIPv6);
        QTcpServer server;
        if (!server.listen(address)) {
            QSKIP("the machine has no IPv6");
        }
        const Descriptor socket = connectTo(server.serverPort(), isIPv6);
        QVERIFY(socket.isOpen());
        const auto isFound = [&socket](State state) {
            for (const auto& answer :
                 {PeerOwner::bySocketDiagnosis(socket), PeerOwner::byTables(socket, kTables)}) {
                const bool hasOwner = state != State::Closed;
                if (answer.state != state || (hasOwner && answer.owner != ::getuid())) {
                    qInfo("state %d, owner %u", static_cast<int>(answer.state), answer.owner);
                    return false;
                }
            }
            return true;
        };
        QCOMPARE(PortListener::ownersAt(server.serverPort()), QList<quint32>{::getuid()});
        QVERIFY(isFound(State::Waiting)); // before the event loop has run
        QVERIFY(server.waitForNewConnection(5000));
        QVERIFY(isFound(State::Accepted));
        server.nextPendingConnection()->close();
        QVERIFY(isFound(State::Closed));
        QCOMPARE(PeerOwner::byTables(socket, u"/nowhere"_s).state, State::Unknown);
    }

    void aResetConnectionIsClosed()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const quint16 port = server.serverPort();
        const Descriptor socket = connectTo(port, false);
        server.close(); // resets what it has not accepted
        QCOMPARE(PeerOwner::of(socket).state, State::Closed);
        QVERIFY(!PortListener::existsAt(port));
    }
};

QTEST_GUILESS_MAIN(TestPeerOwner)
#include "tst_peerowner.moc"

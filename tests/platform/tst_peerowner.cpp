#include "platform/network/PeerOwner.h"
#include "platform/network/PortListener.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;
using PeerOwner::State;

namespace {

const QString kTables = u"/proc/thread-self/net"_s;

Descriptor connectTo(quint16 port, const QHostAddress& address)
{
    QTcpSocket socket;
    socket.connectToHost(address, port);
    socket.waitForConnected();
    return Descriptor(::dup(static_cast<int>(socket.socketDescriptor())));
}

} // namespace

// Who listens, and the owner of a connection's other end, by each of the kernel's two sources.
// Another account's connections are in tst_connection.
class TestPeerOwner : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStateOfAConnection()
    {
        const QHostAddress own4(QHostAddress::LocalHost);
        const QHostAddress own6(QHostAddress::LocalHostIPv6);
        const std::pair<QHostAddress, QHostAddress> cases[] = {
            {own4, own4}, {QHostAddress::AnyIPv4, own4}, {QHostAddress::Any, own4},
            {own6, own6}, {QHostAddress::Any, own6},
        };
        for (const auto& [address, by] : cases) {
            QTcpServer server;
            if (!server.listen(address)) {
                QSKIP("the machine has no IPv6");
            }
            const Descriptor socket = connectTo(server.serverPort(), by);
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
    }

    void aResetConnectionIsClosed()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const quint16 port = server.serverPort();
        const Descriptor socket = connectTo(port, QHostAddress::LocalHost);
        server.close(); // resets what it has not accepted
        QCOMPARE(PeerOwner::of(socket).state, State::Closed);
        QCOMPARE(PortListener::ownersAt(port), QList<quint32>());
    }
};

QTEST_GUILESS_MAIN(TestPeerOwner)
#include "tst_peerowner.moc"

#include "platform/network/SocketOwners.h"
#include "platform/threads/Worker.h"
#include "service_link/ClientConnection.h"

#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <future>
#include <mutex>
#include <tuple>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The link over real TCP.
class TestConnection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("VANTORY_ROOT", m_root.path().toLocal8Bit()); }

    void init()
    {
        m_messages.clear();
        QVERIFY(m_server.listen()); // at both kinds of addresses, in one socket
        makeConnection(m_server.serverPort());
    }

    void cleanup()
    {
        m_idle = std::promise<void>(); // a promise that goes releases the queue, too
        m_connection.reset();
        m_server.close();
        for (const auto& other : std::exchange(m_others, {})) {
            other->kill();
            other->waitForFinished();
        }
    }

    void receivesOneReadAsOneMessage()
    {
        QVERIFY(start());
        m_peer->write(QByteArray(65536, 'a')); // the largest read
        QTRY_COMPARE(messages().join(QString()).size(), 65536);
        m_peer->write("b");
        QTRY_COMPARE(messages().last(), u"b"_s);
        m_peer->write("status=\xff\xfe"); // no Unicode
        QTRY_COMPARE(messages().last(), u"(none)"_s);
        m_peer->write("last words");
        m_peer->disconnectFromHost();
        QTRY_COMPARE(m_error, 0);
        QCOMPARE(messages().last(), u"last words"_s);
    }

    void readsAndSendsWhileTheQueueIsBusy()
    {
        m_connection->send("#####a"); // before the link is there
        QVERIFY(start() && makeBusy());
        m_connection->send("#####b");
        QTRY_COMPARE(m_peer->peek(100), QByteArray("#####a#####b"));
        const QStringList sent = {u"one"_s, u"two"_s};
        for (const QString& message : sent) {
            m_peer->write(message.toUtf8());
            QVERIFY(m_peer->waitForBytesWritten());
            QVERIFY(QTest::qWaitFor([this] { return isAllRead(); }, 30'000));
        }
        m_idle.set_value();
        QTRY_COMPARE(messages().mid(1), sent);
    }

    // Nothing of what another account's program sends is acted on, however it goes about it.
    void refusesAnotherAccount()
    {
        if (::getuid() != 0) {
            QSKIP("only root can start a program as another account");
        }
        for (const auto& [how, address, alsoAtIPv6] :
             {std::tuple(u"takes"_s, u"127.0.0.1"_s, QString()),
              {u"waits"_s, u"127.0.0.1"_s, {}},
              {u"closes"_s, u"127.0.0.1"_s, {}},
              {u"resets"_s, u"127.0.0.1"_s, {}},
              {u"takes"_s, u"::1"_s, {}},
              {u"takes"_s, u"lo"_s, {}},           // bound to the device
              {u"inherits"_s, u"127.0.0.1"_s, {}}, // a trusted account's listener
              {u"waits"_s, u"127.0.0.1"_s, u"late"_s}}) {
            const quint16 port = startOther(how, address, 0);
            QVERIFY(port != 0 && (alsoAtIPv6.isEmpty() || startOther(alsoAtIPv6, u"::1"_s, port)));
            makeConnection(port);
            m_connection->start();
            QVERIFY2(QTest::qWaitFor([this] { return m_error > 0; }, 30'000),
                     qPrintable(how + u" at "_s + address));
            QVERIFY(messages().isEmpty());
        }
        // Such a program at the first address does not hide the service at the second one.
        m_server.close();
        if (!m_server.listen(QHostAddress::LocalHostIPv6)) {
            QSKIP("the machine has no IPv6");
        }
        QVERIFY(startOther(u"takes"_s, u"127.0.0.1"_s, m_server.serverPort()));
        QCOMPARE(SocketOwners::listenersAt(m_server.serverPort())->size(), 2);
        makeConnection(m_server.serverPort());
        QVERIFY(start());
        m_peer->write("hello");
        QTRY_COMPARE(messages(), QStringList{u"hello"_s});
    }

    // The rest of what was sent, and the end, wait for the busy queue, but not for ever.
    void endsBehindABusyQueue()
    {
        m_connection->endTimeout = std::chrono::milliseconds(300);
        QVERIFY(start() && makeBusy());
        m_peer->write(QByteArray(1'200'000, 'a')); // more than is read ahead
        QTRY_COMPARE(m_peer->bytesToWrite(), 0);
        QCOMPARE(m_error, -1);
        m_peer->close();
        QTRY_COMPARE(m_error, 0);
        QCOMPARE(messages(), QStringList{u"execute"_s});
    }

private:
    // Another account's program, until the case's end; its port.
    quint16 startOther(const QString& how, const QString& address, quint16 port)
    {
        QProcess& other = *m_others.emplace_back(std::make_unique<QProcess>());
        other.start(QString::fromUtf8(VANTORY_TEST_DATA "/other_service"),
                    {how, address, QString::number(port)});
        return other.waitForReadyRead() ? other.readLine().trimmed().toUShort() : 0;
    }

    void makeConnection(quint16 port)
    {
        m_idle = std::promise<void>();
        m_connection.reset();
        m_error = -1;
        m_connection = std::make_unique<ClientConnection>(
            port,
            [](quint32 uid) {
                return uid == ::getuid() ? std::nullopt : std::optional(u"a stranger"_s);
            },
            [this, idle = m_idle.get_future().share()](const std::optional<QString>& text) {
                const std::lock_guard lock(m_mutex);
                m_messages.append(text.value_or(u"(none)"_s));
                return ClientConnection::Handled{text, text == u"execute"
                                                           ? Worker::start([idle] { idle.wait(); })
                                                           : Descriptor()};
            });
        m_connection->didStopCallback = [this](const std::optional<QString>& error) {
            m_error = error ? 1 : 0;
        };
    }

    bool start()
    {
        m_connection->start();
        return m_server.waitForNewConnection(5000) &&
               (m_peer = m_server.nextPendingConnection()) != nullptr;
    }

    // Sends a message that occupies the queue until m_idle is set.
    bool makeBusy()
    {
        return m_peer->write("execute") > 0 &&
               QTest::qWaitFor([this] { return !messages().isEmpty(); });
    }

    QStringList messages()
    {
        const std::lock_guard lock(m_mutex);
        return m_messages;
    }

    // Whether all has arrived, and the connection has read it (proc(5), /proc/net/tcp).
    bool isAllRead() const
    {
        int unacknowledged = 0;
        ::ioctl(static_cast<int>(m_peer->socketDescriptor()), TIOCOUTQ, &unacknowledged);
        QFile sockets(u"/proc/self/net/tcp"_s);
        const QByteArray port = ':' + QByteArray::number(m_peer->peerPort(), 16).toUpper();
        const auto lines =
            sockets.open(QIODevice::ReadOnly) ? sockets.readAll().split('\n') : QByteArrayList();
        return std::any_of(lines.begin(), lines.end(), [&](const QByteArray& line) {
            const auto fields = line.simplified().split(' ');
            return unacknowledged == 0 && fields.size() > 4 && fields[1].endsWith(port) &&
                   fields[4].endsWith(":00000000");
        });
    }

    QTemporaryDir m_root;
    QTcpServer m_server;
    std::vector<std::unique_ptr<QProcess>> m_others;
    QTcpSocket* m_peer = nullptr;
    std::promise<void> m_idle;

    // What the connection's threads write and the test reads.
    std::mutex m_mutex;
    QStringList m_messages;
    std::atomic<int> m_error = -1; // none yet; 0: an orderly end

    std::unique_ptr<ClientConnection> m_connection;
};

QTEST_GUILESS_MAIN(TestConnection)
#include "tst_connection.moc"

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

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The link over real TCP.
class TestConnection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("VANTORY_ROOT", m_root.path().toLocal8Bit()); }

    void init()
    {
        m_isBusy = false;
        m_messages.clear();
        m_ends = 0;
        m_error = -1;
        m_server = std::make_unique<QTcpServer>();
        QVERIFY(m_server->listen(QHostAddress::LocalHost));
        makeConnection(m_server->serverPort());
    }

    void makeConnection(quint16 port)
    {
        m_idle = std::promise<void>();
        m_connection = std::make_unique<ClientConnection>(
            u"localhost"_s, port,
            [](quint32 uid) {
                return uid == ::getuid() ? std::nullopt : std::optional(u"a stranger"_s);
            },
            [this, idle = m_idle.get_future().share()](const std::optional<QString>& text) {
                const std::lock_guard lock(m_mutex);
                m_messages.append(text.value_or(u"(none)"_s));
                ClientConnection::Handled handled{text};
                if (text == u"execute") {
                    m_isBusy = true;
                    handled.awaited = Worker::start([idle] { idle.wait(); });
                }
                return handled;
            });
        m_connection->didStopCallback = [this](const std::optional<NetworkError>& error) {
            m_error = error ? error->code : 0;
            ++m_ends;
        };
    }

    void cleanup()
    {
        m_idle = std::promise<void>(); // a promise that goes releases the queue, too
        m_connection.reset();
        m_server.reset();
        for (const auto& other : std::exchange(m_others, {})) {
            other->kill();
            other->waitForFinished();
        }
    }

    void receivesOneReadAsOneMessage()
    {
        QVERIFY(start());
        m_peer->write("first=1");
        QTRY_COMPARE(messages(), QStringList{u"first=1"_s});
        // The largest read, and one byte more in the next.
        m_peer->write(QByteArray(65536, 'a'));
        QTRY_VERIFY(messages().mid(1).join(QString()).size() == 65536);
        const auto before = messages().size();
        m_peer->write("b");
        QTRY_COMPARE(messages().size(), before + 1);
        QCOMPARE(messages().last(), u"b"_s);
        m_peer->write("status=\xff\xfe"); // no Unicode
        QTRY_COMPARE(messages().last(), u"(none)"_s);
        m_peer->write("next");
        QTRY_COMPARE(messages().last(), u"next"_s);
    }

    void keepsReadsApartWhileTheQueueIsBusy()
    {
        QVERIFY(start() && makeBusy());
        const QStringList sent = {u"one"_s, u"two"_s};
        for (const QString& message : sent) {
            m_peer->write(message.toUtf8());
            QVERIFY(m_peer->waitForBytesWritten());
            QTRY_VERIFY(isAllRead());
        }
        m_idle.set_value();
        QTRY_COMPARE(messages().mid(1), sent);
    }

    void sendsBeforeTheLinkIsThereAndWhileTheQueueIsBusy()
    {
        m_connection->send("#####a");
        QVERIFY(start());
        m_connection->send("#####b");
        QTRY_COMPARE(m_peer->peek(100), QByteArray("#####a#####b"));
        QVERIFY(makeBusy());
        m_connection->send("#####c");
        QTRY_COMPARE(m_peer->peek(100), QByteArray("#####a#####b#####c"));
    }

    // The other ends are played end to end.
    void readsTheLastMessageOfAServiceThatCloses()
    {
        QVERIFY(start());
        m_peer->write("last words"); // before it could be looked at, too
        m_peer->disconnectFromHost();
        QTRY_COMPARE(m_ends, 1);
        QCOMPARE(m_error, 0);
        QCOMPARE(messages(), QStringList{u"last words"_s});
    }

    // Nothing of what another account's program sends is acted on, however it goes about it.
    void refusesAnotherAccount_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("address");
        for (const char* const how : {"takes", "waits", "closes", "resets"}) {
            QTest::newRow(how) << QString::fromLatin1(how) << u"127.0.0.1"_s;
        }
        QTest::newRow("takes at ::1") << u"takes"_s << u"::1"_s;
        QTest::newRow("takes, bound to the device") << u"takes"_s << u"lo"_s;
        QTest::newRow("takes what a trusted account listens for")
            << u"inherits"_s << u"127.0.0.1"_s;
        QTest::newRow("waits, and is there at ::1 too") << u"waits"_s << u"127.0.0.1 late"_s;
    }

    void refusesAnotherAccount()
    {
        if (::getuid() != 0) {
            QSKIP("only root can start a program as another account");
        }
        QFETCH(const QString, how);
        QFETCH(const QString, address);
        const quint16 port = startOther(how, address.section(u' ', 0, 0), 0);
        QVERIFY(port != 0);
        if (address.contains(u' ')) {
            QVERIFY(startOther(address.section(u' ', 1), u"::1"_s, port));
        }
        m_connection.reset();
        makeConnection(port);
        m_connection->start();
        QTRY_COMPARE(m_ends, 1);
        QVERIFY(m_error > 0 && messages().isEmpty());
    }

    // One of them, in the way at the first address, keeps nobody from the service at the other.
    void triesEveryAddress()
    {
        if (::getuid() != 0) {
            QSKIP("only root can start a program as another account");
        }
        m_connection.reset();
        m_server = std::make_unique<QTcpServer>();
        if (!m_server->listen(QHostAddress::LocalHostIPv6)) {
            QSKIP("the machine has no IPv6");
        }
        QVERIFY(startOther(u"takes"_s, u"127.0.0.1"_s, m_server->serverPort()));
        makeConnection(m_server->serverPort());
        QVERIFY(start());
        m_peer->write("hello");
        QTRY_COMPARE(messages(), QStringList{u"hello"_s});
    }

    // The rest of what was sent, and the end, wait for the busy queue, but not for ever.
    void endsBehindABusyQueue_data()
    {
        QTest::addColumn<bool>("isReset");
        QTest::addColumn<int>("unread");
        QTest::newRow("closed") << false << 0;
        QTest::newRow("reset") << true << 0;
        QTest::newRow("closed behind more than is read ahead") << false << 1'200'000;
    }

    void endsBehindABusyQueue()
    {
        QFETCH(const bool, isReset);
        QFETCH(const int, unread);
        m_connection->endPatience = std::chrono::milliseconds(300);
        QVERIFY(start() && makeBusy());
        m_peer->write(QByteArray(unread, 'a'));
        QTRY_COMPARE(m_peer->bytesToWrite(), 0);
        QCOMPARE(m_ends, 0);
        if (isReset) { // the service's program is killed while it still has something to read, say
            const linger atOnce = {1, 0};
            ::setsockopt(static_cast<int>(m_peer->socketDescriptor()), SOL_SOCKET, SO_LINGER,
                         &atOnce, sizeof atOnce);
        }
        m_peer->close();
        QTRY_COMPARE(m_ends, 1);
        QCOMPARE(m_error > 0, isReset);
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

    bool start()
    {
        m_connection->start();
        return m_server->waitForNewConnection(5000) &&
               (m_peer = m_server->nextPendingConnection()) != nullptr;
    }

    // Sends a message that occupies the queue until m_idle is set.
    bool makeBusy()
    {
        return m_peer->write("execute") > 0 && QTest::qWaitFor([this] { return m_isBusy.load(); });
    }

    QStringList messages()
    {
        const std::lock_guard lock(m_mutex);
        return m_messages;
    }

    // Whether the connection has read all that has arrived (proc(5), /proc/net/tcp).
    bool isAllRead() const
    {
        QFile sockets(u"/proc/self/net/tcp"_s);
        const QByteArray port = ':' + QByteArray::number(m_peer->peerPort(), 16).toUpper();
        const auto lines =
            sockets.open(QIODevice::ReadOnly) ? sockets.readAll().split('\n') : QByteArrayList();
        return std::any_of(lines.begin(), lines.end(), [&](const QByteArray& line) {
            const auto fields = line.simplified().split(' ');
            return fields.size() > 4 && fields[1].endsWith(port) && fields[4].endsWith(":00000000");
        });
    }

    QTemporaryDir m_root;
    std::unique_ptr<QTcpServer> m_server;
    std::vector<std::unique_ptr<QProcess>> m_others;
    QTcpSocket* m_peer = nullptr;
    std::promise<void> m_idle;

    // What the connection's threads write and the test reads.
    std::mutex m_mutex;
    QStringList m_messages;
    std::atomic<bool> m_isBusy = false;
    std::atomic<int> m_ends = 0;
    std::atomic<int> m_error = -1; // none yet; 0: an orderly end

    std::unique_ptr<ClientConnection> m_connection;
};

QTEST_GUILESS_MAIN(TestConnection)
#include "tst_connection.moc"

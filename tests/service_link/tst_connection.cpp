#include "service_link/ClientConnection.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace {

// A queue that is busy until it is told to go on.
class Gate {
public:
    void pass()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isOpen; });
    }
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

} // namespace

// The link over real TCP.
class TestConnection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("VANTORY_ROOT", m_root.path().toLocal8Bit()); }

    void init()
    {
        m_gate = std::make_unique<Gate>();
        m_isBusy = false;
        m_messages.clear();
        m_ends = 0;
        m_error = -1;
        m_server = std::make_unique<QTcpServer>();
        QVERIFY(m_server->listen(QHostAddress::LocalHost));
    }

    void cleanup()
    {
        m_gate->open();
        m_connection.reset(); // before the gate, at which its queue may still stand
        m_server.reset();
        m_peer = nullptr;
    }

#define MESSAGES                                                                                   \
    ([this] {                                                                                      \
        const std::lock_guard lock(m_mutex);                                                       \
        return m_messages;                                                                         \
    }())

    void receivesOneReadAsOneMessage()
    {
        QVERIFY(start());
        m_peer->write("first=1");
        QTRY_COMPARE(MESSAGES, QStringList{u"first=1"_s});
        // A read's worth exactly, and one byte more in the next.
        m_peer->write(QByteArray(65536, 'a'));
        m_peer->flush();
        QTRY_VERIFY(MESSAGES.mid(1).join(QString()).size() == 65536);
        const auto before = MESSAGES.size();
        m_peer->write("b");
        QTRY_COMPARE(MESSAGES.size(), before + 1);
        QCOMPARE(MESSAGES.last(), u"b"_s);
        m_peer->write("status=\xff\xfe"); // no Unicode
        QTRY_COMPARE(MESSAGES.last(), u"(none)"_s);
        m_peer->write("next");
        QTRY_COMPARE(MESSAGES.last(), u"next"_s);
    }

    void keepsReadsApartWhileTheQueueIsBusy()
    {
        QVERIFY(startBusy());
        const QStringList sent = {u"one"_s, u"two"_s};
        for (const QString& message : sent) {
            m_peer->write(message.toUtf8());
            QVERIFY(m_peer->waitForBytesWritten());
            QTest::qWait(50); // as far apart as a service's own writes
        }
        m_gate->open();
        QTRY_COMPARE(MESSAGES.mid(1), sent);
    }

    void sendsWhileTheQueueIsBusy()
    {
        QVERIFY(startBusy());
        m_connection->send("#####disconnect_session=7");
        QTRY_COMPARE(m_peer->bytesAvailable(), 25);
    }

    void sendsWhatWasSaidBeforeTheLinkIsThere()
    {
        create();
        m_connection->send("#####a");
        m_connection->start();
        m_connection->send("#####b");
        QVERIFY(m_server->waitForNewConnection(5000));
        m_peer = m_server->nextPendingConnection();
        QTRY_COMPARE(m_peer->peek(100), QByteArray("#####a#####b"));
    }

    void ends_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<int>("error");

        QTest::newRow("the service closes") << "close" << 0;
        QTest::newRow("the service breaks off") << "reset" << ECONNRESET;
        QTest::newRow("nobody listens") << "refuse" << ECONNREFUSED;
    }

    void ends()
    {
        QFETCH(QString, how);
        if (how == "refuse"_L1) {
            create();
            m_server->close();
            m_connection->start();
        } else {
            QVERIFY(start());
            m_peer->write("last words");
            QVERIFY(m_peer->waitForBytesWritten());
            if (how == "close"_L1) {
                m_peer->disconnectFromHost();
            } else {
                QTRY_COMPARE(MESSAGES.size(), 1);
                const linger now = {1, 0};
                ::setsockopt(int(m_peer->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now,
                             sizeof now);
                m_peer->abort();
            }
        }
        QTRY_VERIFY(m_error >= 0);
        QTEST(m_error.load(), "error");
        if (how == "close"_L1) {
            QCOMPARE(MESSAGES, QStringList{u"last words"_s});
        }
    }

    void noticesABrokenLinkWhileTheQueueIsBusy()
    {
        QVERIFY(startBusy());
        m_peer->abort();
        // The first may still find room in the system; then the link is known to be broken.
        for (int i = 0; i < 100 && m_error < 0; ++i) {
            m_connection->send("#####request=connections_status");
            QTest::qWait(10);
        }
        QVERIFY(m_error > 0);
    }

    void stopsOnce()
    {
        QVERIFY(start());
        m_connection->stop();
        m_connection->stop();
        QTRY_COMPARE(m_peer->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(m_ends, 1);
        QCOMPARE(m_error, 0);
    }

private:
    void create(const std::function<void()>& onMessage = [] {})
    {
        m_connection = std::make_unique<ClientConnection>(
            u"localhost"_s, m_server->serverPort(),
            [this, onMessage](const std::optional<QString>& text) {
                onMessage();
                const std::lock_guard lock(m_mutex);
                m_messages.append(text.value_or(u"(none)"_s));
                return text;
            });
        m_connection->didStopCallback = [this](const std::optional<NetworkError>& error) {
            m_error = error ? error->code : 0;
            ++m_ends;
        };
    }

    bool start(const std::function<void()>& onMessage = [] {})
    {
        create(onMessage);
        m_connection->start();
        return m_server->waitForNewConnection(5000) &&
               (m_peer = m_server->nextPendingConnection()) != nullptr;
    }

    // With a first message at which the queue stands.
    bool startBusy()
    {
        const bool isLinked = start([this] {
            m_isBusy = true;
            m_gate->pass();
        });
        return isLinked && m_peer->write("execute") > 0 &&
               QTest::qWaitFor([this] { return m_isBusy.load(); });
    }

    // What the connection's threads write and the test reads.
    std::mutex m_mutex;
    QStringList m_messages;
    std::atomic<int> m_ends = 0;
    std::atomic<int> m_error = -1; // none yet; 0: an orderly end

    std::unique_ptr<Gate> m_gate;
    std::atomic<bool> m_isBusy = false;

    QTemporaryDir m_root;
    std::unique_ptr<QTcpServer> m_server;
    QTcpSocket* m_peer = nullptr;
    std::unique_ptr<ClientConnection> m_connection;
};

QTEST_GUILESS_MAIN(TestConnection)
#include "tst_connection.moc"

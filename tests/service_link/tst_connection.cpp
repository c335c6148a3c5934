#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include <sys/socket.h>

#include "service_link/ClientConnection.h"

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
    void initTestCase();
    void init();
    void cleanup();

    void receivesOneReadAsOneMessage();
    void keepsReadsApartWhileTheQueueIsBusy();
    void dropsTextThatIsNoUnicode();
    void sendsWhileTheQueueIsBusy();
    void sendsWhatWasSaidBeforeTheLinkIsThere();
    void ends_data();
    void ends();
    void noticesABrokenLinkWhileTheQueueIsBusy();
    void stopsOnce();

private:
    bool start(ClientConnection::CheckMessage check = {});

    // What the connection's threads write and the test reads.
    std::mutex m_mutex;
    QStringList m_messages;
    std::atomic<int> m_ends = 0;
    std::atomic<int> m_error = -1; // none yet; 0: an orderly end

    QTemporaryDir m_root;
    std::unique_ptr<QTcpServer> m_server;
    QTcpSocket* m_peer = nullptr;
    std::unique_ptr<ClientConnection> m_connection;
};

void TestConnection::initTestCase()
{
    qputenv("VANTORY_ROOT", m_root.path().toLocal8Bit());
}

void TestConnection::init()
{
    m_messages.clear();
    m_ends = 0;
    m_error = -1;
    m_server = std::make_unique<QTcpServer>();
    QVERIFY(m_server->listen(QHostAddress::LocalHost));
}

void TestConnection::cleanup()
{
    m_connection.reset();
    m_server.reset();
    m_peer = nullptr;
}

bool TestConnection::start(ClientConnection::CheckMessage check)
{
    m_connection = std::make_unique<ClientConnection>(
        QStringLiteral("localhost"), m_server->serverPort(),
        [this, check = std::move(check)](const std::optional<QString>& text) {
            const auto result = check ? check(text) : text;
            const std::lock_guard lock(m_mutex);
            m_messages.append(text.value_or(QStringLiteral("(none)")));
            return result;
        });
    m_connection->didStopCallback = [this](const std::optional<NetworkError>& error) {
        m_error = error ? error->code : 0;
        ++m_ends;
    };
    m_connection->start();
    return m_server->waitForNewConnection(5000) &&
           (m_peer = m_server->nextPendingConnection()) != nullptr;
}

#define MESSAGES                                                                                   \
    ([this] {                                                                                      \
        const std::lock_guard lock(m_mutex);                                                       \
        return m_messages;                                                                         \
    }())

void TestConnection::receivesOneReadAsOneMessage()
{
    QVERIFY(start());
    m_peer->write("first=1");
    QTRY_COMPARE(MESSAGES, QStringList{QStringLiteral("first=1")});
    // A read's worth exactly, and one byte more in the next.
    m_peer->write(QByteArray(65536, 'a'));
    m_peer->flush();
    QTRY_VERIFY(MESSAGES.mid(1).join(QString()).size() == 65536);
    const auto before = MESSAGES.size();
    m_peer->write("b");
    QTRY_COMPARE(MESSAGES.size(), before + 1);
    QCOMPARE(MESSAGES.last(), QStringLiteral("b"));
}

void TestConnection::keepsReadsApartWhileTheQueueIsBusy()
{
    Gate gate;
    QVERIFY(start([&](const std::optional<QString>& text) {
        gate.pass();
        return text;
    }));
    const QStringList sent = {QStringLiteral("one"), QStringLiteral("two"),
                              QStringLiteral("three")};
    for (const QString& message : sent) {
        m_peer->write(message.toUtf8());
        QVERIFY(m_peer->waitForBytesWritten());
        QTest::qWait(50); // as far apart as a service's own writes
    }
    gate.open();
    QTRY_COMPARE(MESSAGES, sent);
    m_connection.reset();
}

void TestConnection::dropsTextThatIsNoUnicode()
{
    QVERIFY(start());
    m_peer->write("status=\xff\xfe");
    QTRY_COMPARE(MESSAGES, QStringList{QStringLiteral("(none)")});
    m_peer->write("next");
    QTRY_COMPARE(MESSAGES.last(), QStringLiteral("next"));
}

void TestConnection::sendsWhileTheQueueIsBusy()
{
    Gate gate;
    std::atomic<bool> isBusy = false;
    QVERIFY(start([&](const std::optional<QString>& text) {
        isBusy = true;
        gate.pass();
        return text;
    }));
    m_peer->write("execute");
    QTRY_VERIFY(isBusy);
    m_connection->send("#####disconnect_session=7");
    QTRY_COMPARE(m_peer->bytesAvailable(), 25);
    gate.open();
    m_connection.reset(); // before the gate, at which its queue may still stand
}

void TestConnection::sendsWhatWasSaidBeforeTheLinkIsThere()
{
    m_connection =
        std::make_unique<ClientConnection>(QStringLiteral("localhost"), m_server->serverPort(),
                                           [](const std::optional<QString>& text) { return text; });
    m_connection->send("#####a");
    m_connection->start();
    m_connection->send("#####b");
    QVERIFY(m_server->waitForNewConnection(5000));
    m_peer = m_server->nextPendingConnection();
    QTRY_COMPARE(m_peer->peek(100), QByteArray("#####a#####b"));
}

void TestConnection::ends_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<int>("error");

    QTest::newRow("the service closes") << "close" << 0;
    QTest::newRow("the service breaks off") << "reset" << ECONNRESET;
    QTest::newRow("nobody listens") << "refuse" << ECONNREFUSED;
}

void TestConnection::ends()
{
    QFETCH(QString, how);
    if (how == QLatin1String("refuse")) {
        m_connection = std::make_unique<ClientConnection>(
            QStringLiteral("localhost"), m_server->serverPort(),
            [](const std::optional<QString>& text) { return text; });
        m_connection->didStopCallback = [this](const std::optional<NetworkError>& error) {
            m_error = error ? error->code : 0;
        };
        m_server->close();
        m_connection->start();
    } else {
        QVERIFY(start());
        m_peer->write("last words");
        QVERIFY(m_peer->waitForBytesWritten());
        if (how == QLatin1String("close")) {
            m_peer->disconnectFromHost();
        } else {
            QTRY_COMPARE(MESSAGES.size(), 1);
            m_peer->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            const linger now = {1, 0};
            QCOMPARE(::setsockopt(int(m_peer->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now,
                                  sizeof now),
                     0);
            m_peer->abort();
        }
    }
    QTRY_VERIFY(m_error >= 0);
    QTEST(m_error.load(), "error");
    if (how == QLatin1String("close")) {
        QCOMPARE(MESSAGES, QStringList{QStringLiteral("last words")});
    }
}

void TestConnection::noticesABrokenLinkWhileTheQueueIsBusy()
{
    Gate gate;
    std::atomic<bool> isBusy = false;
    QVERIFY(start([&](const std::optional<QString>& text) {
        isBusy = true;
        gate.pass();
        return text;
    }));
    m_peer->write("execute");
    QTRY_VERIFY(isBusy);
    m_peer->abort();
    // The first may still find room in the system; then the link is known to be broken.
    for (int i = 0; i < 100 && m_error < 0; ++i) {
        m_connection->send("#####request=connections_status");
        QTest::qWait(10);
    }
    QVERIFY(m_error > 0);
    gate.open();
    m_connection.reset(); // before the gate, at which its queue may still stand
}

void TestConnection::stopsOnce()
{
    QVERIFY(start());
    m_connection->stop();
    m_connection->stop();
    QTRY_COMPARE(m_peer->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(m_ends, 1);
    QCOMPARE(m_error, 0);
}

QTEST_GUILESS_MAIN(TestConnection)
#include "tst_connection.moc"

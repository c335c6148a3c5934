#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalServer>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

const QString kKeeper = u"" VANTORY_KEEPER ""_s;
// Lasts until it is told to end; never two at the same time.
const QByteArray kLasts =
    "mkdir $LOG.runs || echo two >>$LOG; trap 'rmdir $LOG.runs; echo TERM "
    ">>$LOG; exit 0' TERM; echo ready >>$LOG; while [ -e $LOG ]; do sleep 0.05; done";

} // namespace

// The keeper with short intervals and a stand-in for the agent, in a session whose display is a
// socket.
class TestKeeper : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QLocalServer> m_display;
    std::unique_ptr<QTcpServer> m_service;
    QProcessEnvironment m_environment;

    QByteArray read(const QString& name) const
    {
        QFile file(m_folder->filePath(name));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    // The agent's starts and what else it tells, a line each.
    QByteArray log() const { return read(u"log"_s); }
    // What the keepers say.
    QByteArray said() const { return read(u"said"_s).replace("vantoryAgentKeeper: ", ""); }
    int agent() const { return read(u"log.pid"_s).trimmed().toInt(); }
    qsizetype starts() const { return log().count("start"); }

    QString portArgument() const { return u"port=%1"_s.arg(m_service->serverPort()); }

    void start(QProcess& keeper, const QByteArray& play = kLasts, bool namesPort = true) const
    {
        QProcessEnvironment environment = m_environment;
        environment.insert(u"PLAY"_s, QString::fromLatin1(play));
        keeper.setProcessEnvironment(environment);
        keeper.setStandardErrorFile(m_folder->filePath(u"said"_s), QIODevice::Append);
        keeper.start(kKeeper, namesPort ? QStringList{portArgument()} : QStringList());
        QVERIFY(keeper.waitForStarted());
    }

    static void signal(const QProcess& process, int signal)
    {
        QCOMPARE(::kill(static_cast<pid_t>(process.processId()), signal), 0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QFile agent(QFileInfo(kKeeper).path() + u"/vantoryAgent"_s);
        QVERIFY(agent.open(QFile::WriteOnly | QFile::Truncate));
        agent.write("#!/bin/sh\necho $$ >$LOG.pid; echo \"start $*\" >>$LOG\neval \"$PLAY\"\n");
        QVERIFY(agent.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_display = std::make_unique<QLocalServer>();
        QVERIFY(m_display->listen(m_folder->filePath(u"display"_s)));
        m_service = std::make_unique<QTcpServer>();
        QVERIFY(m_service->listen(QHostAddress::LocalHost));
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.remove(u"DISPLAY"_s);
        m_environment.insert(u"WAYLAND_DISPLAY"_s, m_display->fullServerName());
        m_environment.insert(u"XDG_RUNTIME_DIR"_s, m_folder->path());
        m_environment.insert(u"LOG"_s, m_folder->filePath(u"log"_s));
    }

    void theAgentRunsWhileTheServiceListens()
    {
        const quint16 port = m_service->serverPort();
        QProcess keeper;
        start(keeper, "mkdir $LOG.runs || echo two >>$LOG; sleep 0.2; rmdir $LOG.runs");
        QTRY_VERIFY(starts() >= 3);
        QVERIFY(log().startsWith("start --kept " + portArgument().toLatin1() + '\n'));
        m_service->pauseAccepting();
        QVERIFY(!m_service->hasPendingConnections());
        m_service->close();
        const QByteArray waits = "waits for the service at port " + QByteArray::number(port) + '\n';
        QTRY_COMPARE(said(), waits);
        const auto before = starts();
        QTest::qWait(500); // five looks
        QCOMPARE(starts(), before);
        QVERIFY(m_service->listen(QHostAddress::LocalHost, port));
        QTRY_VERIFY(starts() > before + 1);
        QCOMPARE(said(), waits + "starts the agent\n");
        QVERIFY(!log().contains("two"));
        signal(keeper, SIGTERM);
        QVERIFY(keeper.waitForFinished());
    }

    void withoutAnArgumentThePortIsTheDeployments()
    {
        const QString folder = m_folder->filePath(u"etc/opt/Halvern/vantoryAgent"_s);
        QFile options(folder + u"/oem.plist"_s);
        QVERIFY(QDir().mkpath(folder) && options.open(QFile::WriteOnly));
        options.write("<plist version=\"1.0\"><dict><key>port</key><integer>" +
                      QByteArray::number(m_service->serverPort()) + "</integer></dict></plist>");
        options.close();
        m_environment.insert(u"VANTORY_ROOT"_s, m_folder->path());
        QProcess keeper;
        start(keeper, kLasts, false);
        QTRY_VERIFY(log().startsWith("start --kept\n"));
        signal(keeper, SIGTERM);
        QVERIFY(keeper.waitForFinished());
    }

    void whatTheAgentsEndMeans_data()
    {
        QTest::addColumn<QByteArray>("play");
        QTest::addColumn<QByteArray>("said");     // once, however often the agent ends so
        QTest::addColumn<bool>("isStartedAgain"); // soon
        QTest::addColumn<int>("status");          // -1: the keeper goes on

        QTest::newRow("link closed") << QByteArray("exit 0") << QByteArray() << true << -1;
        QTest::newRow("link failed") << QByteArray("exit 1") << QByteArray() << true << -1;
        QTest::newRow("arguments refused")
            << QByteArray("exit 2") << QByteArray("the agent refuses its arguments\n") << false
            << 2;
        QTest::newRow("another runs")
            << QByteArray("exit 3") << QByteArray("another agent runs in this session\n") << false
            << -1;
        // These signals' numbers are the statuses above.
        QTest::newRow("SIGINT") << QByteArray("kill -INT $$")
                                << QByteArray("signal 2 has killed the agent\n") << true << -1;
        QTest::newRow("SIGQUIT") << QByteArray("kill -QUIT $$")
                                 << QByteArray("signal 3 has killed the agent\n") << true << -1;
    }

    void whatTheAgentsEndMeans()
    {
        QFETCH(QByteArray, play);
        QFETCH(QByteArray, said);
        QFETCH(bool, isStartedAgain);
        QFETCH(int, status);
        QProcess keeper;
        start(keeper, play);
        QTRY_VERIFY_WITH_TIMEOUT(starts() >= (isStartedAgain ? 3 : 1), 20000);
        QTRY_COMPARE(this->said(), said);
        if (status >= 0) {
            QTRY_COMPARE(keeper.state(), QProcess::NotRunning);
            QCOMPARE(keeper.exitCode(), status);
        } else {
            QTest::qWait(500); // five looks
            QCOMPARE(keeper.state(), QProcess::Running);
        }
        QVERIFY(isStartedAgain || starts() == 1);
        QCOMPARE(this->said(), said);
        keeper.kill();
        keeper.waitForFinished();
    }

    void aSignalEndsTheAgentToo_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QByteArray>("play");
        QTest::newRow("SIGTERM") << SIGTERM << kLasts;
        QTest::newRow("SIGINT") << SIGINT << kLasts;
        QTest::newRow("SIGHUP") << SIGHUP << kLasts;
        QTest::newRow("an agent that does not listen")
            << SIGTERM
            << QByteArray("trap 'echo TERM >>$LOG' TERM; echo ready >>$LOG; echo $$ >$LOG.pid; "
                          "while [ -e $LOG ]; do sleep 0.05; done");
    }

    void aSignalEndsTheAgentToo()
    {
        QFETCH(int, number);
        QFETCH(QByteArray, play);
        QProcess keeper;
        start(keeper, "trap '' INT HUP; " + play);
        QTRY_VERIFY_WITH_TIMEOUT(log().contains("ready"), 20000);
        signal(keeper, number);
        QVERIFY(keeper.waitForFinished(20000));
        QCOMPARE(keeper.exitStatus(), QProcess::NormalExit);
        QCOMPARE(keeper.exitCode(), 0);
        QVERIFY(log().contains("TERM"));
        QVERIFY(!QFile::exists(m_folder->filePath(u"log.runs"_s)));
        QFile left(u"/proc/%1/cmdline"_s.arg(agent())); // empty until it is reaped
        QVERIFY(!left.open(QFile::ReadOnly) || left.readAll().isEmpty());
    }

    void oneKeeperADisplay()
    {
        QProcess first;
        start(first);
        QTRY_COMPARE(starts(), 1);
        QProcess second;
        start(second);
        QVERIFY(second.waitForFinished());
        QCOMPARE(second.exitCode(), 0);
        QVERIFY(said().endsWith("has a keeper already\n"));
        QCOMPARE(starts(), 1);
        signal(first, SIGKILL);
        QVERIFY(first.waitForFinished());
        const int left = agent();
        QProcess third;
        start(third, "exit 3"); // the agent of the first is still there
        QTRY_COMPARE(starts(), 2);
        third.kill();
        third.waitForFinished();
        QCOMPARE(::kill(left, SIGTERM), 0);
    }

    void theDisplayGoes_data()
    {
        QTest::addColumn<bool>("isX11");
        QTest::newRow("X11") << true;
        QTest::newRow("Wayland") << false;
    }

    void theDisplayGoes()
    {
        QFETCH(bool, isX11);
        QProcess server;
        if (isX11) {
            server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s});
            QVERIFY(server.waitForReadyRead(10000));
            m_environment.remove(u"WAYLAND_DISPLAY"_s);
            m_environment.insert(u"DISPLAY"_s,
                                 u':' + QString::fromLatin1(server.readLine().trimmed()));
        }
        QProcess keeper;
        start(keeper, "exit 0");
        QVERIFY(!keeper.waitForFinished(500));
        if (isX11) {
            server.kill();
            QVERIFY(server.waitForFinished());
        } else {
            m_display.reset();
        }
        QVERIFY(keeper.waitForFinished(20000));
        QCOMPARE(keeper.exitCode(), 0);

        start(keeper); // and none comes
        QVERIFY(keeper.waitForFinished(20000));
        QCOMPARE(keeper.exitCode(), 1);
    }
};

QTEST_GUILESS_MAIN(TestKeeper)
#include "tst_keeper.moc"

#include "platform/ConsoleSession.h"

#include <csignal>
#include <memory>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// A seat's active session as logind tells it.
struct Place {
    QString id;
    QDBusObjectPath path;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Place& place)
{
    argument.beginStructure();
    argument << place.id << place.path;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Place& place)
{
    argument.beginStructure();
    argument >> place.id >> place.path;
    argument.endStructure();
    return argument;
}

namespace {

const QString kService = u"org.freedesktop.login1"_qs;
const QString kRoot = u"/org/freedesktop/login1"_qs;
const QString kMock = u"org.freedesktop.DBus.Mock"_qs;
const QStringList kSessions = {u"own"_qs, u"process"_qs, u"front"_qs};

QString sessionPath(const QString& id)
{
    return kRoot + u"/session/"_qs + id;
}

QVariant placeOf(const QString& id)
{
    return QVariant::fromValue(
        Place{id, QDBusObjectPath(id.isEmpty() ? u"/"_qs : sessionPath(id))});
}

} // namespace

// Against a real bus and a stand-in for logind on it. Three sessions: "front" has the seat, "own"
// is the one that XDG_SESSION_ID names, "process" is the one that this process belongs to.
class TestConsoleSession : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (QProcess::execute(u"/usr/bin/python3"_qs, {u"-c"_qs, u"import dbusmock"_qs}) != 0) {
            QSKIP("/usr/bin/python3 has no dbusmock");
        }
        const QString address = u"unix:path="_qs + m_directory.filePath(u"bus"_qs);
        m_address = address.toUtf8();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_address);
        for (QProcess* const process : {&m_daemon, &m_logind}) {
            process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
        }
        m_logind.setStandardOutputFile(QProcess::nullDevice()); // it tells each call
        m_daemon.start(u"dbus-daemon"_qs, {u"--session"_qs, u"--nofork"_qs, u"--nopidfile"_qs,
                                           u"--print-address=1"_qs, u"--address="_qs + address});
        QVERIFY(m_daemon.waitForReadyRead());
        m_logind.start(u"/usr/bin/python3"_qs,
                       {u"-m"_qs, u"dbusmock"_qs, u"--system"_qs, u"--template"_qs, u"logind"_qs});
        qDBusRegisterMetaType<Place>();
        m_bus = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(address, u"control"_qs));
        QTRY_VERIFY_WITH_TIMEOUT(m_bus->interface()->isServiceRegistered(kService).value(), 20'000);

        for (const QString& id : kSessions) { // the last is active
            QVERIFY(
                call(kRoot, kMock, u"AddSession"_qs, {id, u"seat0"_qs, 1000U, u"ann"_qs, true}));
        }
        setKnown(u"GetSession"_qs, u"s"_qs, u"'own'"_qs, u"own"_qs);
    }

    // An ordinary desktop: the person at the seat, nothing locked, the process in no session.
    void init()
    {
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_address);
        qunsetenv("XDG_SESSION_ID");
        setActive(placeOf(u"front"_qs));
        setSession(u"front"_qs, u"Class"_qs, u"user"_qs);
        setSession(u"front"_qs, u"Name"_qs, u"ann"_qs);
        for (const QString& id : kSessions) {
            setSession(id, u"LockedHint"_qs, false);
        }
        setProcessSession(false);
    }

    void consoleUser_data()
    {
        QTest::addColumn<QVariant>("active");
        QTest::addColumn<QVariant>("kind");
        QTest::addColumn<QVariant>("name");
        QTest::addColumn<QString>("expected"); // empty: none
        const auto row = [](const char* what, const QVariant& active, const QVariant& kind,
                            const QVariant& name, const QString& expected = {}) {
            QTest::newRow(what) << active << kind << name << expected;
        };
        const QVariant front = placeOf(u"front"_qs);
        const QVariant user = u"user"_qs;
        const QVariant ann = u"ann"_qs;
        row("a person", front, user, ann, u"ann"_qs);
        row("a greeter", front, u"greeter"_qs, u"gdm"_qs, u"loginwindow"_qs);
        row("nobody", placeOf({}), user, ann);
        row("a session that has gone", placeOf(u"gone"_qs), user, ann);
        row("an active session of another type", u"front"_qs, user, ann);
        row("a class of another type", front, 1, ann);
        row("a name of another type", front, user, true);
        row("no name", front, user, QString());
    }

    void consoleUser()
    {
        QFETCH(const QVariant, active);
        QFETCH(const QVariant, kind);
        QFETCH(const QVariant, name);
        QFETCH(const QString, expected);
        setActive(active);
        setSession(u"front"_qs, u"Class"_qs, kind);
        setSession(u"front"_qs, u"Name"_qs, name);
        const auto console = ConsoleSession::consoleUser();
        QCOMPARE(console.has_value(), !expected.isEmpty());
        QCOMPARE(console.value_or(QString()), expected);
    }

    void screenLock_data()
    {
        QTest::addColumn<QByteArray>("id"); // XDG_SESSION_ID
        QTest::addColumn<bool>("isInSession");
        QTest::addColumn<QString>("asked"); // the session that is expected to be asked
        QTest::newRow("the named one") << QByteArray("own") << true << u"own"_qs;
        QTest::newRow("the process's") << QByteArray() << true << u"process"_qs;
        QTest::newRow("unknown name") << QByteArray("c9") << true << u"process"_qs;
        QTest::newRow("name of no text") << QByteArray("\xFF") << true << u"process"_qs;
        QTest::newRow("the seat's") << QByteArray("c9") << false << u"front"_qs;
    }

    void screenLock()
    {
        QFETCH(const QByteArray, id);
        QFETCH(const bool, isInSession);
        QFETCH(const QString, asked);
        qputenv("XDG_SESSION_ID", id);
        setProcessSession(isInSession);
        for (const QString& session : kSessions) {
            setSession(session, u"LockedHint"_qs, true);
            QCOMPARE(ConsoleSession::isScreenLocked(), session == asked);
            setSession(session, u"LockedHint"_qs, false);
        }
        setSession(asked, u"LockedHint"_qs, u"yes"_qs);
        QVERIFY(!ConsoleSession::isScreenLocked());
    }

    void noAnswerMeansNobodyAndUnlocked_data()
    {
        QTest::addColumn<QString>("what");
        for (const char* const what :
             {"no bus", "a socket that never answers", "a bus that hangs", "a logind that hangs"}) {
            QTest::newRow(what) << QString::fromUtf8(what);
        }
    }

    void noAnswerMeansNobodyAndUnlocked()
    {
        QFETCH(const QString, what);
        setSession(u"front"_qs, u"LockedHint"_qs, true);
        QVERIFY(ConsoleSession::isScreenLocked());

        // Listening is enough: the system accepts for us.
        const QByteArray silent = m_directory.filePath(what).toUtf8();
        const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un name = {AF_UNIX, {}};
        qstrncpy(name.sun_path, silent.constData(), sizeof name.sun_path);
        ::bind(listener, reinterpret_cast<const sockaddr*>(&name), sizeof name);
        const QProcess* halted = nullptr;
        if (what == u"a bus that hangs") {
            halted = &m_daemon;
        } else if (what == u"a logind that hangs") {
            halted = &m_logind;
        } else {
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + silent);
            QVERIFY(what == u"no bus" || ::listen(listener, 5) == 0);
        }
        const auto signal = [halted](int number) {
            if (halted != nullptr) {
                ::kill(static_cast<pid_t>(halted->processId()), number);
            }
        };
        signal(SIGSTOP);
        QElapsedTimer timer;
        timer.start();
        const auto user = ConsoleSession::consoleUser();
        const bool isLocked = ConsoleSession::isScreenLocked();
        const qint64 elapsed = timer.elapsed();
        signal(SIGCONT);
        ::close(listener);
        QCOMPARE(user, std::nullopt);
        QVERIFY(!isLocked);
        QVERIFY2(elapsed < 10'000, "two questions of half a second each");
    }

    void cleanupTestCase()
    {
        for (QProcess* const process : {&m_logind, &m_daemon}) {
            process->kill();
            process->waitForFinished();
        }
    }

private:
    [[nodiscard]] bool call(const QString& path, const QString& interface, const QString& method,
                            const QVariantList& arguments)
    {
        auto message = QDBusMessage::createMethodCall(kService, path, interface, method);
        message.setArguments(arguments);
        return m_bus->call(message).type() == QDBusMessage::ReplyMessage;
    }

    void set(const QString& path, const QString& interface, const QString& name,
             const QVariant& value)
    {
        QVERIFY(call(path, u"org.freedesktop.DBus.Properties"_qs, u"Set"_qs,
                     {interface, name, QVariant::fromValue(QDBusVariant(value))}));
    }

    void setActive(const QVariant& place)
    {
        set(kRoot + u"/seat/seat0"_qs, u"org.freedesktop.login1.Seat"_qs, u"ActiveSession"_qs,
            place);
    }

    void setSession(const QString& id, const QString& name, const QVariant& value)
    {
        set(sessionPath(id), u"org.freedesktop.login1.Session"_qs, name, value);
    }

    // Lets a method of the manager know one argument, and the session that it stands for.
    void setKnown(const QString& method, const QString& type, const QString& argument,
                  const QString& id)
    {
        const QString code =
            u"if args[0] != %1:\n"
            "    raise dbus.exceptions.DBusException('none', name='org.test.NoSession')\n"
            "ret = '%2'"_qs.arg(argument, sessionPath(id));
        QVERIFY(call(kRoot, kMock, u"AddMethod"_qs,
                     {u"org.freedesktop.login1.Manager"_qs, method, type, u"o"_qs, code}));
    }

    // Whether logind counts this process to the session "process".
    void setProcessSession(bool isInSession)
    {
        setKnown(u"GetSessionByPID"_qs, u"u"_qs, QString::number(isInSession ? ::getpid() : 0),
                 u"process"_qs);
    }

    QTemporaryDir m_directory;
    QByteArray m_address;
    QProcess m_daemon;
    QProcess m_logind;
    std::unique_ptr<QDBusConnection> m_bus;
};

QTEST_GUILESS_MAIN(TestConsoleSession)

#include "tst_consolesession.moc"

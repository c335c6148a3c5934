#include "platform/accounts/ConsoleSession.h"
#include "platform/desktop/DBusStruct.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <csignal>

#include <unistd.h>

using namespace Qt::StringLiterals;

// A seat's active session, as logind names it.
struct Place {
    QString id;
    QDBusObjectPath path;

    static auto fields(auto& self) { return std::tie(self.id, self.path); }
};

namespace {

const QString kService = u"org.freedesktop.login1"_s;
const QString kRoot = u"/org/freedesktop/login1"_s;
const QString kMock = u"org.freedesktop.DBus.Mock"_s;
const QStringList kSessions = {u"own"_s, u"process"_s, u"front"_s};

QString sessionPath(const QString& id)
{
    return kRoot + u"/session/"_s + id;
}

QVariant placeOf(const QString& id)
{
    return QVariant::fromValue(Place{id, QDBusObjectPath(id.isEmpty() ? u"/"_s : sessionPath(id))});
}

} // namespace

// On a real bus with a mock of logind. It has three sessions: "front" is active at the seat, "own"
// can be named by XDG_SESSION_ID, and "process" is the one that this process may belong to.
class TestConsoleSession : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_logind.setStandardOutputFile(QProcess::nullDevice()); // it logs each call
        m_logind.start(u"/usr/bin/python3"_s,
                       {u"-m"_s, u"dbusmock"_s, u"--system"_s, u"--template"_s, u"logind"_s});
        qDBusRegisterMetaType<Place>();
        QTRY_VERIFY_WITH_TIMEOUT(m_bus.interface()->isServiceRegistered(kService).value(), 20'000);
        for (const QString& id : kSessions) { // the last is active
            call(kRoot, kMock, u"AddSession"_s, {id, u"seat0"_s, 1000U, u"ann"_s, true});
        }
        answer(u"GetSession"_s, u"s"_s, u"'own'"_s, u"own"_s);
    }

    // An ordinary desktop: a person at the seat, nothing locked, the process in no session.
    void init()
    {
        qunsetenv("XDG_SESSION_ID");
        setActive(placeOf(u"front"_s));
        setFront(u"Class"_s, u"user"_s);
        setFront(u"Name"_s, u"ann"_s);
        lock({});
        setProcessSession(false);
    }

    void consoleUser()
    {
        QCOMPARE(ConsoleSession::consoleUser(), u"ann"_s);
        setFront(u"Name"_s, QString());
        QCOMPARE(ConsoleSession::consoleUser(), std::nullopt);
        setFront(u"Name"_s, true); // of another type than documented
        QCOMPARE(ConsoleSession::consoleUser(), std::nullopt);
        setFront(u"Class"_s, u"greeter"_s);
        QCOMPARE(ConsoleSession::consoleUser(), u"loginwindow"_s);
        for (const QVariant& place : {placeOf({}), placeOf(u"gone"_s), QVariant(u"front"_s)}) {
            setActive(place);
            QCOMPARE(ConsoleSession::consoleUser(), std::nullopt);
        }
    }

    void screenLock()
    {
        const std::tuple<QByteArray, bool, QString> expectations[] = {
            {"own", true, u"own"_s}, // XDG_SESSION_ID, whether the process is in a session
            {"c9", true, u"process"_s},
            {"\xFF", true, u"process"_s},
            {"", false, u"front"_s},
        };
        for (const auto& [id, isInSession, asked] : expectations) {
            qputenv("XDG_SESSION_ID", id);
            setProcessSession(isInSession);
            for (const QString& session : kSessions) {
                lock(session);
                QCOMPARE(ConsoleSession::isScreenLocked(), session == asked);
            }
        }
    }

    void noAnswerMeansNobodyAndUnlocked()
    {
        lock(u"front"_s);
        for (const QString& name : {u"org.freedesktop.DBus"_s, kService}) {
            QTRY_VERIFY(ConsoleSession::isScreenLocked());
            const auto process = static_cast<pid_t>(m_bus.interface()->servicePid(name).value());
            ::kill(process, SIGSTOP);
            QElapsedTimer timer;
            timer.start();
            const auto user = ConsoleSession::consoleUser();
            const bool isLocked = ConsoleSession::isScreenLocked();
            const qint64 elapsed = timer.elapsed();
            ::kill(process, SIGCONT);
            QCOMPARE(user, std::nullopt);
            QVERIFY(!isLocked);
            QVERIFY2(elapsed < 10'000, "two questions of half a second each");
        }
        const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
        QCOMPARE(ConsoleSession::consoleUser(), std::nullopt);
        QVERIFY(!ConsoleSession::isScreenLocked());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
    }

    void cleanupTestCase()
    {
        m_logind.kill();
        m_logind.waitForFinished();
    }

private:
    void call(const QString& path, const QString& interface, const QString& method,
              const QVariantList& arguments)
    {
        auto message = QDBusMessage::createMethodCall(kService, path, interface, method);
        message.setArguments(arguments);
        QCOMPARE(m_bus.call(message).type(), QDBusMessage::ReplyMessage);
    }

    void set(const QString& path, const QString& kind, const QString& name, const QVariant& value)
    {
        call(path, u"org.freedesktop.DBus.Properties"_s, u"Set"_s,
             {kService + u'.' + kind, name, QVariant::fromValue(QDBusVariant(value))});
    }

    void setActive(const QVariant& place)
    {
        set(kRoot + u"/seat/seat0"_s, u"Seat"_s, u"ActiveSession"_s, place);
    }

    void setFront(const QString& name, const QVariant& value)
    {
        set(sessionPath(u"front"_s), u"Session"_s, name, value);
    }

    // Locks this session only.
    void lock(const QString& locked)
    {
        for (const QString& id : kSessions) {
            set(sessionPath(id), u"Session"_s, u"LockedHint"_s, id == locked);
        }
    }

    // Makes a method of the manager answer one argument with a session, and others with an error.
    void answer(const QString& method, const QString& type, const QString& argument,
                const QString& id)
    {
        const QString code =
            u"if args[0] != %1:\n"
            "    raise dbus.exceptions.DBusException('none', name='org.test.NoSession')\n"
            "ret = '%2'"_s.arg(argument, sessionPath(id));
        call(kRoot, kMock, u"AddMethod"_s,
             {u"org.freedesktop.login1.Manager"_s, method, type, u"o"_s, code});
    }

    // Puts this process into the session "process", or into none.
    void setProcessSession(bool isInSession)
    {
        answer(u"GetSessionByPID"_s, u"u"_s, QString::number(isInSession ? ::getpid() : 0),
               u"process"_s);
    }

    QProcess m_logind;
    QDBusConnection m_bus = QDBusConnection::systemBus();
};

QTEST_GUILESS_MAIN(TestConsoleSession)

#include "tst_consolesession.moc"

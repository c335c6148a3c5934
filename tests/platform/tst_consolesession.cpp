#include "platform/accounts/ConsoleSession.h"
#include "platform/accounts/ScreenLock.h"
#include "platform/desktop/DBusStruct.h"
#include "platform/threads/MainQueue.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <csignal>
#include <future>
#include <map>

#include <unistd.h>

using namespace Qt::StringLiterals;

// A seat's active session or a user's main one, as logind names it.
struct Place {
    QString id;
    QDBusObjectPath path;

    static auto fields(auto& self) { return std::tie(self.id, self.path); }
};

// A session's user.
struct Owner {
    uint uid = 0;
    QDBusObjectPath path;

    static auto fields(auto& self) { return std::tie(self.uid, self.path); }
};

namespace {

QVariant placeOf(const QString& id)
{
    return QVariant::fromValue(Place{id, QDBusObjectPath(id.isEmpty() ? u"/"_s : u'/' + id)});
}

// In logind's place on the bus, with the sessions "named" (by XDG_SESSION_ID), "process", "front"
// (at the seat) and "main".
class Logind : public QDBusVirtualObject {
public:
    std::map<QString, QVariant> properties; // the seat's, the user's, and those of "front"
    QByteArray foreign;                     // the sessions of another user
    QByteArray managers;                    // the sessions of a user manager
    QString lockedSession;
    bool isInSession = false; // this process, in "process"
    bool isSilent = false;
    QList<QDBusMessage> lockQuestions;
    std::optional<QVariant> wrongLock; // the answer to them instead of the true one; none: an error

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        message.setDelayedReply(isSilent);
        const QString session = message.path().sliced(1);
        const QString argument = message.arguments().value(0).toString();
        const QString property = message.arguments().value(1).toString();
        if (property == u"LockedHint") {
            lockQuestions += message;
        }
        if (isSilent) {
            return true;
        }
        QVariant answer;
        if (message.member() == u"GetSession" && argument == u"named") {
            answer = QVariant::fromValue(QDBusObjectPath(u"/named"_s));
        } else if (message.member() == u"GetUser" && argument == QString::number(::getuid())) {
            answer = QVariant::fromValue(QDBusObjectPath(u"/user"_s));
        } else if (message.member() == u"GetSessionByPID") {
            answer = isInSession && argument == QString::number(::getpid())
                         ? QVariant::fromValue(QDBusObjectPath(u"/process"_s))
                         : answer;
        } else if (property == u"LockedHint") {
            const QVariant value = wrongLock.value_or(session == lockedSession);
            answer = value.isValid() ? QVariant::fromValue(QDBusVariant(value)) : answer;
        } else if (property == u"User") {
            const uid_t other = foreign.contains(session.toLatin1()) ? 1 : 0;
            const QVariant owner =
                QVariant::fromValue(Owner{::getuid() + other, QDBusObjectPath(u"/user"_s)});
            answer = QVariant::fromValue(QDBusVariant(owner));
        } else if (property == u"Class" && session != u"front" && session != u"gone") {
            const bool isManager = managers.contains(session.toLatin1());
            answer = QVariant::fromValue(QDBusVariant(isManager ? u"manager"_s : u"user"_s));
        } else if (!property.isEmpty() && session != u"gone") {
            answer = QVariant::fromValue(QDBusVariant(properties[property]));
        }
        return connection.send(answer.isValid() ? message.createReply(answer)
                                                : message.createErrorReply(u"org.test.No"_s, {}));
    }
};

} // namespace

class TestConsoleSession : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        MainQueue::attach();
        qDBusRegisterMetaType<Place>();
        qDBusRegisterMetaType<Owner>();
        m_bus.registerVirtualObject(u"/"_s, &m_logind, QDBusConnection::SubPath);
        QVERIFY(m_bus.registerService(u"org.freedesktop.login1"_s));
    }

    // An ordinary desktop: a person at the seat, nothing locked.
    void init()
    {
        qunsetenv("XDG_SESSION_ID");
        m_logind.isSilent = false;
        m_logind.wrongLock.reset();
        m_logind.foreign.clear();
        m_logind.managers.clear();
        m_logind.properties = {{u"ActiveSession"_s, placeOf(u"front"_s)},
                               {u"Display"_s, placeOf(u"main"_s)},
                               {u"Class"_s, u"user"_s},
                               {u"Name"_s, u"ann"_s}};
    }

    void consoleUser()
    {
        const auto ask = [this] { return answerTo(&ConsoleSession::consoleUser); };
        QCOMPARE(ask(), u"ann"_s);
        m_logind.properties[u"Name"_s] = QString();
        QCOMPARE(ask(), std::nullopt);
        m_logind.properties[u"Name"_s] = true; // not of the documented type
        QCOMPARE(ask(), std::nullopt);
        m_logind.properties[u"Class"_s] = u"greeter"_s;
        QCOMPARE(ask(), u"loginwindow"_s);
        for (const QVariant& place : {placeOf({}), placeOf(u"gone"_s), QVariant(u"front"_s)}) {
            m_logind.properties[u"ActiveSession"_s] = place;
            QCOMPARE(ask(), std::nullopt);
        }
    }

    // Only a session of this person's with a screen says that it is locked.
    void screenLock()
    {
        struct Row {
            QByteArray id; // XDG_SESSION_ID
            bool isInSession;
            QByteArray foreign;
            QByteArray managers;
            QString asked;
        };
        const Row rows[] = {
            {"named", true, "", "", u"named"_s},
            {"c9", true, "", "", u"process"_s}, // gone
            {"\xFF", true, "", "", u"process"_s},
            {"", false, "", "", u"front"_s},
            {"named", true, "named", "", u"process"_s},
            {"named", true, "named process", "", u"front"_s},
            {"named", true, "", "named process", u"front"_s},
            {"", false, "front", "", u"main"_s},
            {"named", true, "named process front main", "", {}},
        };
        for (const Row& row : rows) {
            qputenv("XDG_SESSION_ID", row.id);
            m_logind.isInSession = row.isInSession;
            m_logind.foreign = row.foreign;
            m_logind.managers = row.managers;
            for (const QString& session : {u"named"_s, u"process"_s, u"front"_s, u"main"_s}) {
                m_logind.lockedSession = session;
                QCOMPARE(answerTo(&ConsoleSession::isScreenLocked), session == row.asked);
            }
        }
    }

    void theScreenLockIsWatched()
    {
        m_logind.isInSession = true;
        m_logind.lockedSession = u"process"_s;
        const ScreenLock lock;
        const QSignalSpy changes(&lock, &ScreenLock::changed);
        QTRY_VERIFY(lock.isLocked());

        // A signal's own value, an error and a wrong type change nothing.
        for (const auto& wrong :
             {std::optional<QVariant>(), std::optional(QVariant()), std::optional(QVariant(0))}) {
            m_logind.wrongLock = wrong;
            m_logind.lockQuestions.clear();
            announceChange();
            QTRY_COMPARE(m_logind.lockQuestions.size(), 1);
            QTest::qWait(50);
            QVERIFY(lock.isLocked());
        }
        m_logind.wrongLock.reset();
        QCOMPARE(changes.size(), 1);

        // One question at a time, and one after it, whose answer counts.
        m_logind.isSilent = true;
        m_logind.lockQuestions.clear();
        for (int i = 0; i < 100; ++i) {
            announceChange();
        }
        QTest::qWait(200);
        QCOMPARE(m_logind.lockQuestions.size(), 1);
        m_logind.isSilent = false;
        m_logind.lockedSession.clear();
        m_bus.send(m_logind.lockQuestions[0].createReply(QVariant::fromValue(QDBusVariant(true))));
        QTRY_VERIFY(!lock.isLocked());
        QCOMPARE(m_logind.lockQuestions.size(), 2);

        QVERIFY(m_bus.unregisterService(u"org.freedesktop.login1"_s));
        m_logind.lockedSession = u"process"_s;
        QVERIFY(m_bus.registerService(u"org.freedesktop.login1"_s));
        QTRY_VERIFY(lock.isLocked()); // without a signal
        QCOMPARE(changes.size(), 3);
    }

    void noAnswerMeansNobodyAndUnlocked()
    {
        m_logind.isInSession = false;
        m_logind.lockedSession = u"front"_s;
        QVERIFY(answerTo(&ConsoleSession::isScreenLocked));
        const auto bus =
            static_cast<pid_t>(m_bus.interface()->servicePid(u"org.freedesktop.DBus"_s).value());
        const std::pair<std::function<void()>, std::function<void()>> troubles[] = {
            {[&] { m_logind.isSilent = true; }, [&] { m_logind.isSilent = false; }},
            {[&] { ::kill(bus, SIGSTOP); }, [&] { ::kill(bus, SIGCONT); }},
            {[] { qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere"); }, [] {}},
        };
        for (const auto& [begin, end] : troubles) {
            begin();
            QElapsedTimer timer;
            timer.start();
            const auto user = answerTo(&ConsoleSession::consoleUser);
            const bool isLocked = answerTo(&ConsoleSession::isScreenLocked);
            const qint64 elapsed = timer.elapsed();
            end();
            QVERIFY(!user && !isLocked);
            QVERIFY2(elapsed < 10'000, "two questions of half a second each");
        }
    }

private:
    // The question waits on another thread, while this one is logind.
    template <typename Answer>
    static Answer answerTo(Answer (*question)())
    {
        auto answer = std::async(std::launch::async, question);
        static_cast<void>(QTest::qWaitFor(
            [&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return answer.get();
    }

    // Not from logind, and with a value that nobody may believe.
    static void announceChange()
    {
        auto signal = QDBusMessage::createSignal(
            u"/process"_s, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s);
        signal << u"org.freedesktop.login1.Session"_s << QVariantMap{{u"LockedHint"_s, false}}
               << QStringList();
        QDBusConnection::systemBus().send(signal);
    }

    Logind m_logind;
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, u"logind"_s);
};

QTEST_GUILESS_MAIN(TestConsoleSession)
#include "tst_consolesession.moc"

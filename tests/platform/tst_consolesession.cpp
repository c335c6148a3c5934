#include "platform/accounts/ConsoleSession.h"
#include "platform/desktop/DBusStruct.h"
#include "platform/threads/MainQueue.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QTest>

#include <future>
#include <tuple>

#include <unistd.h>

using namespace Qt::StringLiterals;

// A session, as a seat or a user names it, or a session's user.
template <typename Name>
struct Named {
    Name name;
    QDBusObjectPath path;

    static auto fields(auto& self) { return std::tie(self.name, self.path); }
};
using Place = Named<QString>;
using Owner = Named<uint>;
using ConsoleSession::Screen;

namespace {

QVariant placeOf(const QString& id)
{
    return QVariant::fromValue(Place{id, QDBusObjectPath(id.isEmpty() ? u"/"_s : u'/' + id)});
}

QVariant object(const QString& path)
{
    return QVariant::fromValue(QDBusObjectPath(path));
}

// In logind's place on the bus.
class Logind : public QDBusVirtualObject {
public:
    // By object and property, or by method and argument; what is not there is an error.
    QVariantMap known;

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString property = message.arguments().value(1).toString();
        QVariant reply = known.value(
            property.isEmpty() ? message.member() + u' ' + message.arguments().value(0).toString()
                               : message.path() + u' ' + property);
        if (reply.isValid() && !property.isEmpty()) {
            reply = QVariant::fromValue(QDBusVariant(reply));
        }
        return connection.send(reply.isValid() ? message.createReply(reply)
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

    // A user at the seat, nothing locked. The sessions are "named" (by XDG_SESSION_ID), "process"
    // (this process'), "front" (at the seat) and "main".
    void init()
    {
        qunsetenv("XDG_SESSION_ID");
        m_logind.known = {{u"GetSession named"_s, object(u"/named"_s)},
                          {u"GetUser %1"_s.arg(::getuid()), object(u"/user"_s)},
                          {kOwn, object(u"/process"_s)},
                          {kActive, placeOf(u"front"_s)},
                          {u"/user Display"_s, placeOf(u"main"_s)}};
        for (const QString& session : kSessions) {
            knowSession(session, false, u"user"_s, false);
        }
    }

    // Only a session of this user's with a screen says that it is locked, and no other user may be
    // at the seat then.
    void screenLock()
    {
        // XDG_SESSION_ID, the one locked session, and by session: "." the user's own, f another
        // user's, m that of a user manager, g a greeter's, s that of SSH.
        const std::tuple<QByteArray, QString, QByteArray, Screen> rows[] = {
            {"named", u"/named"_s, "....", Screen::Locked},
            {"\xFF", u"/front"_s, ".f..", Screen::Locked},
            {"named", u"/front"_s, "fm..", Screen::Locked},
            {"", u"/main"_s, ".sf.", Screen::LockedBehindAnother},
            {"", u"/process"_s, "..g.", Screen::Locked},
            {"named", {}, "fffm", Screen::NoSession},
        };
        for (const auto& [id, locked, kinds, screen] : rows) {
            qputenv("XDG_SESSION_ID", id);
            for (int i = 0; i < 4; ++i) {
                const QString& session = kSessions[i];
                const char kind = kinds[i];
                knowSession(session, kind == 'f',
                            kind == 'm'   ? u"manager"_s
                            : kind == 'g' ? u"greeter"_s
                                          : u"user"_s,
                            session == locked || locked.isEmpty());
                m_logind.known[session + u" Type"_s] = kind == 's' ? u"tty"_s : u"x11"_s;
            }
            QCOMPARE(resultOf(&ConsoleSession::screen), screen);
        }
    }

    // What screen() returns and what the follower is told never differ.
    void theLockIsFollowed()
    {
        QVariant& isLocked = m_logind.known[u"/process LockedHint"_s];
        isLocked = true;
        QList<bool> told;
        ConsoleSession::followLock([&told](bool isLockedNow) { told += isLockedNow; });
        QTRY_COMPARE(told, QList<bool>({true}));

        isLocked = false;
        announceChange();
        QTRY_COMPARE(told, QList<bool>({true, false}));
        isLocked = true; // whoever asks
        QCOMPARE(resultOf(&ConsoleSession::screen), Screen::Locked);
        QTRY_COMPARE(told, QList<bool>({true, false, true}));

        // An error and a wrong type change nothing.
        for (const QVariant& reply : {QVariant(), QVariant(0)}) {
            isLocked = reply;
            QCOMPARE(resultOf(&ConsoleSession::screen), Screen::Unknown);
        }
        QCOMPARE(told.size(), 3);
        isLocked = false;
        announceChange();
        QTRY_COMPARE(told.size(), 4);

        QVERIFY(m_bus.unregisterService(u"org.freedesktop.login1"_s));
        isLocked = true;
        QVERIFY(m_bus.registerService(u"org.freedesktop.login1"_s));
        QTRY_COMPARE(told.size(), 5); // without a signal of its own
        ConsoleSession::followLock([](bool) {});
    }

private:
    void knowSession(const QString& session, bool isForeign, const QString& kind, bool isLocked)
    {
        const Owner owner{::getuid() + (isForeign ? 1 : 0), QDBusObjectPath(u"/user"_s)};
        m_logind.known[session + u" User"_s] = QVariant::fromValue(owner);
        m_logind.known[session + u" Class"_s] = kind;
        m_logind.known[session + u" Type"_s] = u"wayland"_s;
        m_logind.known[session + u" LockedHint"_s] = isLocked;
    }

    // Calls it on another thread, while this one plays logind.
    template <typename Result>
    static Result resultOf(Result (*function)())
    {
        auto result = std::async(std::launch::async, function);
        static_cast<void>(QTest::qWaitFor(
            [&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return result.get();
    }

    void announceChange()
    {
        auto signal = QDBusMessage::createSignal(
            u"/process"_s, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s);
        signal << u"org.freedesktop.login1.Session"_s << QVariantMap() << QStringList();
        m_bus.send(signal);
    }

    const QString kOwn = u"GetSessionByPID %1"_s.arg(::getpid());
    const QString kActive = u"/org/freedesktop/login1/seat/seat0 ActiveSession"_s;
    const QStringList kSessions = {u"/named"_s, u"/process"_s, u"/front"_s, u"/main"_s};
    Logind m_logind;
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, u"logind"_s);
};

QTEST_GUILESS_MAIN(TestConsoleSession)
#include "tst_consolesession.moc"

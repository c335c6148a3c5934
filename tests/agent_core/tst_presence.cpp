#include "AgentFixture.h"
#include "NotificationServer.h"
#include "ServiceMessages.h"
#include "agent_core/ActivityLog.h"
#include "platform/desktop/Notifications.h"
#include "platform/desktop/WindowActivation.h"
#include "records/Intervals.h"
#include "settings/AllowedSettings.h"
#include "settings/SettingsFile.h"
#include "windows/ActivityWindow.h"
#include "windows/UserAcknowlegement.h"

#include <QAction>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::StringLiterals;
using namespace ServiceMessages;

const QByteArray kAnn = session(7, "Ann");

// What the user is told of what happens to the computer, now or later.
class TestPresence : public QObject {
    Q_OBJECT

private:
    static QWidget* window(const char* name) { return AgentFixture::topLevel(name); }

    // The list's rows without their times, the newest first.
    static QStringList activities()
    {
        QStringList rows;
        const auto& list = *window("ActivityWindow")->findChild<QTreeWidget*>();
        for (int row = 0; row < list.topLevelItemCount(); ++row) {
            const QTreeWidgetItem& item = *list.topLevelItem(row);
            rows.append((item.font(1).bold() ? u"*"_s : QString()) + item.text(1) + u'|' +
                        item.text(2) + u'|' + item.text(3));
        }
        return rows;
    }

    // What the notification service was asked for before a session of that name that has not
    // ended, which is always told, and what is told together with it.
    QString takeCalls()
    {
        const QString line = u"Session has not ended: Mark"_s;
        m_server->last = {};
        Q_EMIT AppDelegate::state().sessions.hasNotEnded({99, {}, u"Mark"_s, {}});
        (void)QTest::qWaitFor([&] { return m_server->title() == line; }, 30'000);
        QStringList told = std::exchange(m_calls, {}) + m_server->text().split(u'\n');
        told.removeIf([&](const QString& one) { return one == u'?' || one.startsWith(line); });
        return told.join(u' ').trimmed();
    }

    QStringList m_calls;
    std::unique_ptr<NotificationServer> m_server;
    std::unique_ptr<AgentFixture> m_agent;

private Q_SLOTS:
    void init()
    {
        m_calls.clear();
        m_server = std::make_unique<NotificationServer>(m_calls);
        m_agent = std::make_unique<AgentFixture>();
    }
    void cleanup()
    {
        m_agent.reset();
        m_server.reset();
    }

    // One call at a time; of the numbers that are clicked only ours count.
    void onlyTheNewestIsShown()
    {
        auto notifications = std::make_unique<Notifications>(u"App"_s, QString());
        const auto show = [&notifications](const QString& title) {
            notifications->show(Notifications::Place::Question, {title, {}, {}, true});
        };
        const QSignalSpy clicks(notifications.get(), &Notifications::activated);
        const QSignalSpy taken(notifications.get(), &Notifications::taken);
        show(u"a"_s + QChar(0xD83D)); // half of a pair
        QTRY_COMPARE(taken.size(), 1);
        m_server->isSilent = true;
        show(u"b"_s);
        show(u"c"_s);
        QTRY_COMPARE(m_calls.join(u' '), u"? a?>0 b>1"_s);
        notifications->withdraw(Notifications::Place::Question);
        show(u"e"_s);
        m_server->isSilent = false;
        m_server->reply();
        QTRY_COMPARE(m_calls.join(u' '), u"? a?>0 b>1 e>1"_s);

        m_server->isSilent = true;
        show(u"f"_s);
        QTRY_COMPARE(m_calls.last(), u"f>1"_s);
        m_server->tell(u"ActionInvoked"_s, 7); // another program's
        m_server->tell(u"ActionInvoked"_s, 1);
        m_server->tell(u"NotificationClosed"_s, 1);
        m_server->isSilent = false;
        m_server->reply();
        QTRY_VERIFY(clicks.size() == 1 && taken.size() == 4); // what was closed is "e"
        notifications->letPass(Notifications::Place::Question);
        notifications->withdraw(Notifications::Place::Question);
        QTRY_COMPARE(m_calls.join(u' '), u"? a?>0 b>1 e>1 f>1 f>1 -1"_s);

        // At the program's end, also a notification that the service has just accepted.
        m_server->isSilent = true;
        show(u"g"_s);
        QTRY_COMPARE(m_calls.last(), u"g>0"_s);
        m_server->reply();
        notifications->withdrawAll();
        notifications.reset(); // no event is handled any more
        QTRY_COMPARE(m_calls.last(), u"-2"_s);
    }

    void sessionsAreToldWhereNoWindowShowsThem()
    {
        Intervals::current().untilIconHint = Intervals::current().showConnection =
            std::chrono::milliseconds(1);
        m_server->capabilities = {u"body-markup"_s};
        QVERIFY(m_agent->start() && m_agent->send(status(session(6, "Old")))); // ran before it
        // This desktop has neither a host nor a tray.
        QTRY_COMPARE(m_server->title(), u"No panel shows the agent’s icon"_s);
        QTRY_VERIFY(window("ConnectionStatus") != nullptr &&
                    WindowActivation::isInSight(*window("ConnectionStatus")));
        m_calls.clear();
        QVERIFY(m_agent->send(connected(7, "Ann")) && m_agent->send("disconnected_session=7"));
        QCOMPARE(takeCalls(), QString()); // the window says it
        AgentFixture::xdotool(u"set_num_desktops 2 set_desktop 1"_s);
        QVERIFY(m_agent->send(connected(7, "<b>Ann</b>")));
        QTRY_COMPARE(m_server->title(), u"Session began: <b>Ann</b>"_s);
        QVERIFY(m_agent->send(status(session(9, "\u200B"))));
        QTRY_COMPARE(m_server->title(), u"Session began: Session 9"_s);
        QVERIFY(m_server->text().contains(u"Session began: &lt;b&gt;Ann&lt;/b&gt;"));
        QCOMPARE(m_server->replacedId(), 2U);
        m_server->tell(u"ActionInvoked"_s, 2);
        AgentFixture::xdotool(u"set_desktop 0"_s);
        window("ConnectionStatus")->hide();
        AppDelegate::connectionDisplay();
        QTRY_COMPARE(m_calls.last(), u"-2"_s); // the window says it
        QTRY_VERIFY(WindowActivation::isInSight(*window("ConnectionStatus")));

        // A full-screen program covers the window. Nothing about what the user has done, or where
        // nothing may be shown.
        QWidget program;
        program.showFullScreen();
        program.activateWindow();
        QTRY_VERIFY(!WindowActivation::isInSight(*window("ConnectionStatus")));
        AppDelegate::endSession(9);
        QVERIFY(m_agent->send("disconnected_session=9"));
        program.hide();
        window("ConnectionStatus")->hide();
        QVERIFY(QDir().mkpath(allowedSettingsPath())); // which can't be read
        AppDelegate::state().sessions.add({8, {}, u"Bob"_s, {}});
        QTRY_COMPARE(m_server->title(), u"Session began: Bob"_s);
        QVERIFY(!m_server->text().contains(u"ended: Session 9"));
        QVERIFY(QDir().rmdir(allowedSettingsPath()));
    }

    void aQuestionIsToldWhereItIsNotSeen()
    {
        QVERIFY(m_agent->start());
        m_agent->allowShowing("false");
        QVERIFY(m_agent->send("user_acknowledgement=1;srv;Ann"));
        QCOMPARE(takeCalls(), QString());
        Intervals::current().untilQuestionNotification = std::chrono::milliseconds(1);
        QTRY_COMPARE(m_server->title(), u"Remote control request"_s);
        QCOMPARE(m_server->expires(), -1); // it is in sight, too
        QVERIFY(m_agent->send("user_acknowledgement=2;srv;Bob"));
        AgentFixture::xdotool(u"set_num_desktops 2 set_desktop 1"_s);
        QTRY_COMPARE(m_server->expires(), 0);
        QVERIFY(m_server->text().contains(u"Bob"));
        QVERIFY(m_agent->send("close_acknowledgement"));
        QTRY_COMPARE(m_server->title(), u"The request was withdrawn"_s);
        QCOMPARE(m_server->last.arguments().value(5).toStringList(), QStringList());
        m_calls.clear();
        QVERIFY(m_agent->send("close_acknowledgement")); // there is none
        QVERIFY(m_agent->send("user_acknowledgement=3;srv;Eve"));
        AppDelegate::state().userAcknowledge->acceptAction();
        QVERIFY(!takeCalls().contains(u"Remote"));
    }

    void whatHappenedBehindALockedScreenIsToldOnce()
    {
        QVERIFY(m_agent->start());
        Q_EMIT AppDelegate::state().events.screenLockChanged(true);
        Q_EMIT AppDelegate::state().events.requestNoted(
            7, u"Ann"_s, Activity::Kind::RequestAccepted, Activity::By::LockedScreen);
        QVERIFY(m_agent->send(connected(7, "Ann")) && m_agent->send("disconnected_session=7"));
        QVERIFY(m_agent->send(R"(execute_command={"session":7,"exec":"true\ntrue"})"));
        QVERIFY(m_agent->send(R"(receive_message={"from":"Eve","text":"a","timeout":1,"icon":1})"));
        QTRY_COMPARE(AppDelegate::state().messageInbox.size(), 0); // closed by itself
        QVERIFY(m_agent->send(R"(receive_message={"from":"Eve","text":"b","timeout":0,"icon":1})"));
        QVERIFY(AppDelegate::state().statusBarMenu->actions().constLast()->isVisible());
        Q_EMIT AppDelegate::state().events.screenLockChanged(false);
        QTRY_COMPARE(m_server->title(), u"While you were away"_s);
        QCOMPARE(m_server->text().split(u'\n').size(), 5);
        QVERIFY(m_server->text().endsWith(u"\nCommand (1): true true"));
        QVERIFY(m_server->text().contains(u"Request accepted on your behalf: Ann"));
        QCOMPARE(m_server->expires(), 0);
        AppDelegate::connectionDisplay();
        QTRY_COMPARE(m_server->expires(), -1); // it would cover the window's buttons
        m_calls.clear();
        Q_EMIT AppDelegate::state().events.screenLockChanged(true);
        Q_EMIT AppDelegate::state().events.screenLockChanged(false);
        QCOMPARE(takeCalls(), QString());

        m_agent->delegate->findChild<ActivityLog*>()->show();
        QTRY_VERIFY(m_calls.join(u' ').startsWith(u'-'));
        QTRY_COMPARE(
            activities(),
            QStringList({u"Session has not ended|Mark|"_s, u"Message|Eve: b|"_s,
                         u"*Message|Eve: a|"_s, u"*Command|true…|0"_s, u"*Session ended|Ann|"_s,
                         u"*Session began|Ann|"_s, u"*Request accepted on your behalf|Ann|"_s}));
        window("ActivityWindow")->close();
        QVERIFY(!AppDelegate::state().statusBarMenu->actions().constLast()->isVisible());
    }

    // On a machine that is not managed, too, which is known from the start.
    void anEndThatDidNotHappenIsTold()
    {
        QVERIFY(writeFile(backendSettingsPath(),
                          settingsPropertyList({false, u"123456"_s, {}, {}}).toUtf8()));
        QVERIFY(m_agent->start());
        QVERIFY(m_agent->send(status(kAnn)));
        AppDelegate::connectionDisplay();
        const QWidget& shown = *window("ConnectionStatus");
        QVERIFY(shown.findChild<QWidget*>(u"ChatButton"_s)->isVisible());
        QVERIFY(!shown.findChild<QWidget*>(u"abort"_s)->isVisible());
        const auto* const note = shown.findChild<QLabel*>(u"note"_s);
        AppDelegate::endSession(7);
        QVERIFY(m_agent->send(status(kAnn))); // the service does not know yet
        QVERIFY(!note->isVisible());
        Intervals::current().endReport = std::chrono::milliseconds(0);
        QVERIFY(m_agent->send(status(kAnn)));
        QTRY_COMPARE(m_server->title(), u"Session has not ended: Ann"_s);
        QCOMPARE(note->text(), u"Not ended"_s);
        // The next one of that number is another.
        QVERIFY(m_agent->send("disconnected_session=7") && m_agent->send(status(kAnn)));
        QTRY_VERIFY(!note->isVisible());
    }

    // An agent whose own session can't be found: a greeter in front may be left.
    void theLoginWindowIsLeft()
    {
        const QString logind = u"" VANTORY_TEST_DATA "/../support/mock_logind"_s;
        QCOMPARE(QProcess::execute(logind, {u"ann"_s, u"behind"_s}), 0);
        Intervals::current().userUpdate = Intervals::current().showConnection =
            std::chrono::milliseconds(100);
        QVERIFY(m_agent->start());
        QVERIFY(m_agent->send(connected(7, "Ann")));
        QVERIFY(AppDelegate::isAtLoginWindow() &&
                !AppDelegate::state().connectionStatus->isSeen() &&
                !AppDelegate::state().connectionShowTimer.isActive());
        auto change = QDBusMessage::createMethodCall(
            u"org.freedesktop.login1"_s, u"/org/freedesktop/login1/session/s2"_s,
            u"org.freedesktop.DBus.Mock"_s, u"UpdateProperties"_s);
        change << u"org.freedesktop.login1.Session"_s << QVariantMap{{u"Class"_s, u"user"_s}};
        QDBusConnection::systemBus().call(change);
        QTRY_VERIFY(window("ConnectionStatus") != nullptr &&
                    window("ConnectionStatus")->isVisible());
        QVERIFY(m_agent->sent().contains("#####request=connections_status"));
        QCOMPARE(takeCalls(), QString());
        QCOMPARE(m_agent->log().filter(u"at the login window"_s).size(), 2);
    }

    // A list grows no larger than its bound, keeps who is in session and what is new, and is read
    // whole or not at all.
    void damagedListsAreDropped()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        ActivityList list;
        list.put({.time = now, .session = 7, .name = u"Ann"_s});
        for (int i = 1; i < 1'200; ++i) {
            list.put({.kind = Activity::Kind::Command,
                      .time = now,
                      .text = QString(5'000, QChar(1 + i)),
                      .isRunning = true,
                      .isUnseen = true});
        }
        list.put({.kind = Activity::Kind::Message, .time = now});
        QCOMPARE(list.all().constLast().kind, Activity::Kind::Message);
        const QByteArray records = list.records(MemoryFile::kSize);
        QVERIFY(records.size() <= MemoryFile::kSize && list.all().size() > 20);
        const auto kept = ActivityList::fromRecords(records);
        QVERIFY(kept && !kept->all().at(1).isRunning);
        QCOMPARE(kept->openSessions().size(), 1);
        QCOMPARE(kept->dropped(), 1'201 - list.all().size());
        QCOMPARE(kept->all().constLast().text, list.all().constLast().text);
        QVERIFY(!ActivityList::fromRecords(QByteArray(records).replace("false", "true ")));
    }
};

QTEST_MAIN(TestPresence)
#include "tst_presence.moc"

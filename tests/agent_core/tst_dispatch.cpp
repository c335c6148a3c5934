#include "AgentFixture.h"
#include "ServiceMessages.h"
#include "platform/accounts/Account.h"
#include "records/Intervals.h"

#include <QApplication>
#include <QMenu>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace ServiceMessages;

namespace {

// What the service's messages move.
QString state()
{
    const ConnectionStatus& window = *AppDelegate::state().connectionStatus;
    const auto valid = window.accountIsValid;
    return u"%1, %2 '%3' account %4 %5"_s.arg(
        AppDelegate::state().gatewayConnectionStatus ? u"on"_s : u"off"_s,
        AppDelegate::state().statusBarIcon.section(u'-', 2), window.gateway_name,
        valid ? (*valid ? u"valid"_s : u"invalid"_s) : u"unknown"_s, AgentFixture::sessionLists());
}

} // namespace

// What the service's messages do to the agent, over the real link.
class TestDispatch : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    void messages()
    {
        const std::pair<QByteArray, QString> steps[] = {
            {connected(7, ""), u"off, disconnected '' account unknown [7Session 7][7Session 7]"_s},
            {connected(7, "A"), u"off, disconnected '' account unknown [7Session 7][7Session 7]"_s},
            {"connected_gateway=aconnected_gateway=gw", // two commands in one read
             u"on, session 'aconnected_gateway=gw' account unknown [7Session 7][7Session 7]"_s},
            {status(session(8, "B") + ',' + session(8, "C")),
             u"on, session 'gw' account valid [8B][8B]"_s},
            {"account_invalid", u"off, session 'gw' account invalid [8B][8B]"_s},
            {status(session(8, "B")), u"on, session 'gw' account valid [8B][8B]"_s},
            {"disconnected_gateway=why", u"off, disconnected '' account valid [8B][8B]"_s},
            {"connected_gateway=gw", u"on, session 'gw' account valid [8B][8B]"_s},
            {status({}, "x", "false"), u"off, session 'gw' account invalid [8B][8B]"_s},
            {"disconnected_gateway", u"off, disconnected '' account invalid [8B][8B]"_s},
        };
        AppDelegate::updateUser(); // nobody is in session
        for (const auto& [message, after] : steps) {
            QVERIFY2(m_agent->send(message), message);
            QCOMPARE(state(), after);
        }
        AppDelegate::updateUser();
        AppDelegate::updateUser(); // is reported once
        // From here on nothing changes, nothing comes up, nothing is sent. But two messages may
        // have been read as one, so the status is asked for once, later.
        const QString before = state();
        QTimer& asks = AppDelegate::state().connnectionStatusTimer;
        asks.stop(); // the one of the start
        for (const char* const idle :
             {"Status={}", "#####status={}", "account_invalidconnected_gateway=x", "\xff\xfe",
              "request_chat=5,4294967304", "user_acknowledgement=1;srv",
              "receive_message={\"from\":1}", "receive_chat={}", "disconnected_session=8 ",
              "connected_session={\"session\":7", "status={\"accountIsValid\":true}"}) {
            QVERIFY(m_agent->send("close_chat=99") && !asks.isActive());
            QVERIFY(m_agent->send(idle) && asks.isActive());
            asks.stop();
            QCOMPARE(state(), before);
            QVERIFY(std::ranges::none_of(QApplication::topLevelWidgets(), &QWidget::isVisible));
        }
        QCOMPARE(m_agent->takeSent(),
                 QByteArrayList{"#####update_user=" + Account::fullName().toUtf8()});
    }

    void windowOfTheSessions_data()
    {
        QTest::addColumn<QByteArray>("allowed");
        QTest::addColumn<QString>("visible"); // after the beginning, right after the end, later
        QTest::newRow("no settings: hidden at once") << QByteArray() << u"100"_s;
        QTest::newRow("allowed: closes after a while") << QByteArray("true") << u"110"_s;
        QTest::newRow("not allowed: comes at the end") << QByteArray("false") << u"011"_s;
        QTest::newRow("not allowed, all at once") << QByteArray("false") << u"000"_s;
    }

    void windowOfTheSessions()
    {
        QFETCH(QByteArray, allowed);
        QFETCH(const QString, visible);
        if (!allowed.isEmpty()) {
            m_agent->allowShowing(allowed);
        }
        Intervals::current().showConnection = Intervals::current().hideConnection =
            std::chrono::hours(1);
        QString seen;
        const auto passTime = [](QTimer& timer) {
            timer.setInterval(0); // where it runs
            return QTest::qWaitFor([&timer] { return !timer.isActive(); });
        };
        const auto look = [&seen] {
            seen += AppDelegate::state().connectionStatus->isSeen() ? u'1' : u'0';
        };
        QVERIFY(m_agent->send(connected(7, "A")));
        QVERIFY(!AppDelegate::state().connectionStatus->isSeen()); // not before its time
        QVERIFY(passTime(AppDelegate::state().connectionShowTimer));
        look();
        // For a window that is shown the status is requested once more, but not again at the reply.
        const qsizetype asked = seen == u"1" ? 1 : 0;
        QCOMPARE(m_agent->takeSent().size(), asked);
        QVERIFY(m_agent->send(status(session(7, "A"))));
        QVERIFY(passTime(AppDelegate::state().connectionShowTimer));
        QCOMPARE(m_agent->takeSent(), QByteArrayList());
        QVERIFY(m_agent->send(visible == u"000" ? "disconnect_all_sessions"
                                                : "disconnected_session=7"));
        look();
        QVERIFY(passTime(AppDelegate::state().connectionNotShowTimer));
        look();
        QCOMPARE(seen, visible);
    }

    void menuNamesWhoIsInSession()
    {
        const QString nobody = u"Settings|Permissions|Connection|-|About"_s;
        const auto titles = [] {
            QStringList result;
            for (const QAction* const item : AppDelegate::state().statusBarMenu->actions()) {
                if (item->isVisible()) {
                    result.append(item->isSeparator() ? u"-"_s : item->text());
                }
            }
            return result.join(u'|');
        };
        const auto icon = [] { return AppDelegate::state().statusBarIcon; };
        QCOMPARE(titles(), nobody);
        QCOMPARE(AppDelegate::state().statusBarToolTip, u"KRD – No gateway available"_s);
        QVERIFY(m_agent->send(connected(7, "A & <b>B</b>")));
        QVERIFY(m_agent->send(connected(8, "B")));
        QCOMPARE(titles(), u"Settings|Permissions|Connection: A && <b>B</b> , B|-|About"_s);
        QCOMPARE(icon(), u"appIcon-22-disconnected"_s); // which is more than in session
        QVERIFY(m_agent->send("connected_gateway=gw"));
        QCOMPARE(icon(), u"appIcon-22-session"_s);
        QCOMPARE(AppDelegate::state().statusBarToolTip, u"KRD – In session: A & <b>B</b> , B"_s);
        AppDelegate::state().statusBarMenu->actions().at(2)->trigger();
        QVERIFY(AppDelegate::state().connectionStatus->isSeen());
        // The window has no row for a third session.
        QVERIFY(m_agent->send(connected(9, "C")));
        QTRY_VERIFY(titles().endsWith(u"|About|End all sessions"));
        (void)m_agent->takeSent();
        AppDelegate::state().statusBarMenu->actions().at(5)->trigger();
        QCOMPARE(m_agent->takeSent().join(),
                 "#####disconnect_session=7#####disconnect_session=8#####disconnect_session=9");
        QTRY_COMPARE(titles(), nobody);
    }
};

QTEST_MAIN(TestDispatch)
#include "tst_dispatch.moc"

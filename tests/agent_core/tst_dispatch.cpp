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
    return u"%1 '%2' account %3 %4"_s.arg(
        AppDelegate::state().gatewayConnectionStatus ? u"linked"_s : u"not linked"_s,
        window.gateway_name, valid ? (*valid ? u"valid"_s : u"invalid"_s) : u"unknown"_s,
        AgentFixture::sessionLists());
}

} // namespace

// What the service's messages do to the agent, over the real link.
class TestDispatch : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    void messages_data()
    {
        QTest::addColumn<QByteArrayList>("sent");
        QTest::addColumn<QString>("after");

        const QByteArray up = "connected_gateway=gw";
        QTest::newRow("the same session again")
            << QByteArrayList{connected(7, "A"), connected(8, "B"), connected(7, "C")}
            << u"not linked '' account unknown [7A8B][7A8B]"_s;
        QTest::newRow("status, a number twice")
            << QByteArrayList{connected(1, "Z"), status(session(7, "A") + ',' + session(7, "B"))}
            << u"linked 'gw' account valid [7A][7A]"_s;
        QTest::newRow("status of an invalid account")
            << QByteArrayList{up, connected(7, "A"), status({}, "x", "false")}
            << u"not linked 'gw' account invalid [7A][7A]"_s;
        QTest::newRow("names that nobody sees, two commands in one read")
            << QByteArrayList{connected(7, ""), connected(8, "\u3164"), "connected_gateway=a" + up}
            << u"linked 'aconnected_gateway=gw' account unknown "
               "[7Session 78Session 8][7Session 78Session 8]"_s;
    }

    void messages()
    {
        QFETCH(QByteArrayList, sent);
        for (const QByteArray& message : sent) {
            QVERIFY2(m_agent->send(message), message);
        }
        QTEST(state(), "after");
        QCOMPARE(m_agent->sent(), QByteArrayList());
    }

    // Nothing changes, nothing comes up, nothing is sent.
    void idleMessages()
    {
        QVERIFY(m_agent->send("request_chat=5,7"));
        const QString before = state();
        const auto windows = [] {
            return std::ranges::count_if(QApplication::topLevelWidgets(), &QWidget::isVisible);
        };
        const auto shown = windows();
        for (const char* const idle :
             {"Status={}", "#####status={}", "account_invalid ", "\xff\xfe", "request_chat=5,x",
              "user_acknowledgement=1;srv", "close_chat=99999999999", "receive_chat={}",
              "receive_message={\"from\":1}", "chat_left_member=[]", "disconnected_session=7 ",
              "connected_session={\"session\":7", "status={\"accountIsValid\":true}"}) {
            QVERIFY(m_agent->send(idle));
            QCOMPARE(state(), before);
            QCOMPARE(windows(), shown);
        }
        QCOMPARE(m_agent->sent(), QByteArrayList());
    }

    void windowOfTheSessions_data()
    {
        QTest::addColumn<QByteArray>("allowed"); // "-": no file
        QTest::addColumn<QByteArray>("end");
        QTest::addColumn<QString>("visible"); // after the beginning, right after the end, later

        const QByteArray last = "disconnected_session=7";
        QTest::newRow("no settings: hidden at once") << "-"_ba << last << "100";
        QTest::newRow("allowed: closes after a while") << "true"_ba << last << "110";
        QTest::newRow("not allowed: comes at the end") << "false"_ba << last << "011";
        QTest::newRow("not allowed, all at once") << "false"_ba
                                                  << "disconnect_all_sessions"_ba
                                                  << "000";
    }

    void windowOfTheSessions()
    {
        QFETCH(QByteArray, allowed);
        QFETCH(QByteArray, end);
        if (allowed != "-") {
            m_agent->allowShowing(allowed);
        }
        Intervals::current().showConnection = Intervals::current().hideConnection =
            std::chrono::milliseconds(300);
        QString visible;
        const auto look = [&visible] {
            visible += AppDelegate::state().connectionStatus->isSeen() ? u'1' : u'0';
        };
        QVERIFY(m_agent->send(connected(7, "A")));
        QVERIFY(!AppDelegate::state().connectionStatus->isSeen()); // not before its time
        QTest::qWait(600);
        look();
        // A window that is there has the status asked for once more.
        QTRY_COMPARE(m_agent->sent().size(), visible == u"1" ? 1 : 0);
        QVERIFY(m_agent->send(end));
        look();
        QTest::qWait(600);
        look();
        QTEST(visible, "visible");
    }

    void reportsTheUserOnce()
    {
        AppDelegate::updateUser();
        QVERIFY(m_agent->send(connected(7, "A")));
        AppDelegate::updateUser();
        AppDelegate::updateUser();
        QTRY_COMPARE(m_agent->sent(),
                     QByteArrayList{"#####update_user=" + Account::fullName().toUtf8()});
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
        const auto icon = [] { return AppDelegate::state().statusBarLook.icon; };
        QCOMPARE(titles(), nobody);
        QVERIFY(m_agent->send(connected(7, "A & <b>B</b>")));
        QVERIFY(m_agent->send(connected(8, "B")));
        QTRY_COMPARE(titles(), u"Settings|Permissions|Connection: A && <b>B</b> , B|-|About"_s);
        QCOMPARE(icon(), u"appIcon-22-disconnected"_s); // which is more than in session
        QVERIFY(m_agent->send("connected_gateway=gw"));
        QCOMPARE(icon(), u"appIcon-22-session"_s);
        QCOMPARE(AppDelegate::state().statusBarLook.toolTip,
                 u"KRD – In session: A & <b>B</b> , B"_s);
        AppDelegate::state().statusBarMenu->actions().at(2)->trigger();
        QVERIFY(AppDelegate::state().connectionStatus->isSeen());
        QVERIFY(m_agent->send("disconnect_all_sessions"));
        QTRY_COMPARE(titles(), nobody);
    }
};

QTEST_MAIN(TestDispatch)
#include "tst_dispatch.moc"

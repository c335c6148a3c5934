#include "AgentFixture.h"
#include "chat/ChatController.h"
#include "platform/desktop/WindowActivation.h"
#include "window_kit/InputGuard.h"
#include "windows/UserAcknowlegement.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QTest>
#include <QWindow>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const auto xdotool = &AgentFixture::xdotool;

// As the user does by a click in its title, or window managers that give every new window the
// keyboard.
bool activate(QWidget* window)
{
    return xdotool(u"windowactivate %1"_s.arg(window->winId())) &&
           QTest::qWaitForWindowActive(window);
}

// What xprop prints of one property.
QByteArray xprop(const QStringList& window, const QString& name)
{
    QGuiApplication::sync();
    QProcess process;
    process.start(u"xprop"_s, window + QStringList{name});
    process.waitForFinished();
    return process.readAllStandardOutput().trimmed();
}

QByteArray windowProperty(const QWidget& window, const QString& name)
{
    return xprop({u"-id"_s, QString::number(window.winId())}, name);
}

const QString kUserTime = u"_NET_WM_USER_TIME"_s;

quint32 serverTime()
{
    return static_cast<quint32>(QDeadlineTimer::current().deadline());
}

// Whether the window manager has it above all others.
bool isOnTop(const QWidget& window)
{
    return xprop({u"-root"_s}, u"_NET_CLIENT_LIST_STACKING"_s)
        .endsWith(" 0x" + QByteArray::number(window.winId(), 16));
}

bool wantsAttention(const QWidget& window)
{
    return windowProperty(window, u"_NET_WM_STATE"_s).contains("_NET_WM_STATE_DEMANDS_ATTENTION");
}

} // namespace

// What the user types and clicks by habit, while windows come up and rows move, does nothing.
class TestHabits : public AgentTest {
    Q_OBJECT

private:
    static QWidget* window(const char* name) { return AgentFixture::topLevel(name); }

    // What the agent has sent because of the user.
    QByteArrayList answers()
    {
        QByteArrayList sent = m_agent->takeSent();
        sent.removeAll("#####request=connections_status");
        return sent;
    }

    // Ann above Bob, in a window that stands still.
    void showSessions()
    {
        AppDelegate::state().sessions.add({7, u"d"_s, u"Ann"_s, {}});
        AppDelegate::state().sessions.add({8, u"d"_s, u"Bob"_s, {}});
        AppDelegate::state().connectionStatus->presentByService();
        QVERIFY(activate(window("ConnectionStatus")));
        QVERIFY(AgentFixture::waitUntilHeard(window("ConnectionStatus")));
        auto* const abort = window("ConnectionStatus")->findChild<QWidget*>(u"abort"_s);
        const QPoint place = abort->mapToGlobal(abort->rect().center());
        QVERIFY(xdotool(u"mousemove %1 %2"_s.arg(place.x()).arg(place.y())));
    }

private Q_SLOTS:
    void whatIsTypedElsewhereStaysElsewhere()
    {
        for (const auto& [message, name] :
             {std::pair("request_chat=5,7", "ChatController"),
              {"user_acknowledgement=1;srv;Ann", "UserAcknowlegement"}}) {
            QProcess typing;
            typing.start(u"xdotool"_s,
                         {u"type"_s, u"--delay"_s, u"40"_s, u"a b \n\t \n"_s.repeated(12)});
            m_agent->write(message);
            QTRY_VERIFY(window(name) != nullptr && window(name)->isVisible());
            QVERIFY(activate(window(name)));
            QTRY_VERIFY_WITH_TIMEOUT(typing.state() == QProcess::NotRunning, 20'000);
            QVERIFY(typing.exitStatus() == QProcess::NormalExit && typing.exitCode() == 0);
            QCOMPARE(answers(), QByteArrayList());
            QVERIFY(window(name)->isVisible());
            window(name)->hide();
        }
    }

    void whatComesByItselfAsksWhereNothingElseIsUsed_data()
    {
        QTest::addColumn<QByteArray>("compositor");
        QTest::addColumn<QString>("used"); // the other program, and when
        QTest::addColumn<bool>("asks");
        QTest::newRow("nothing is used") << QByteArray() << QString() << true;
        QTest::newRow("before") << QByteArray() << u"1"_s << true;
        QTest::newRow("since") << QByteArray() << u"now"_s << false;
        QTest::newRow("it does not tell when") << QByteArray() << u"?"_s << false;
        QTest::newRow("perhaps on Wayland") << QByteArray("wayland-0") << QString() << false;
        QTest::newRow("before, with XWayland") << QByteArray("wayland-0") << u"1"_s << true;
    }
    void whatComesByItselfAsksWhereNothingElseIsUsed()
    {
        QFETCH(QByteArray, compositor);
        QFETCH(QString, used);
        QFETCH(bool, asks);
        QProcess other;
        other.setStandardOutputFile(QProcess::nullDevice());
        // The window manager has taken note of the last row's end.
        QTRY_VERIFY(xprop({u"-root"_s}, u"_NET_CLIENT_LIST"_s).endsWith("#"));
        // A click's time of the bus; with one in the future, window managers refuse every later
        // window. Some hosts send seconds.
        WindowActivation::noteAction(serverTime() + 86'400'000);
        if (!used.isEmpty()) {
            other.start(u"xev"_s, {});
            QVERIFY(xdotool(u"search --sync --name Event.Tester windowactivate --sync"_s));
            const QString time = used == u"now" ? QString::number(serverTime()) : used;
            xprop(
                {u"-name"_s, u"Event Tester"_s, u"-f"_s, kUserTime, u"32c"_s, u"-set"_s, kUserTime},
                time);
        }
        qputenv("WAYLAND_DISPLAY", compositor);
        AppDelegate::requestChat(5, 7);
        qunsetenv("WAYLAND_DISPLAY");
        QWidget& chat = *window("ChatController");
        QVERIFY(QTest::qWaitForWindowExposed(&chat));
        // A window that asks for the keyboard tells the time of the user's last action.
        QCOMPARE(windowProperty(chat, kUserTime).endsWith("= 0"), !asks);
        QCOMPARE(!used.isEmpty() && wantsAttention(chat), !used.isEmpty() && !asks);
    }

    void aChatThatTheUserAsksForHearsThem()
    {
        showSessions();
        QVERIFY(xdotool(u"key Tab Tab space"_s));
        QCOMPARE(answers(), QByteArrayList{"#####chat_request=7"});
        AppDelegate::requestChat(5, 7);
        QTRY_VERIFY(window("ChatController")->isActiveWindow());
        QVERIFY(xdotool(u"key a space b Return"_s));
        QCOMPARE(answers(), QByteArrayList{R"(#####send_chat={"message":"a b","token":5})"});
        QVERIFY(activate(window("ConnectionStatus")));
        AppDelegate::requestChat(6, 7); // which nobody asked for
        QVERIFY(QTest::qWaitForWindowExposed(AppDelegate::state().chats.constLast()));
        // By now the window manager would have given it the keyboard.
        QVERIFY(xdotool(u"mousemove 5 5"_s));
        QVERIFY(window("ConnectionStatus")->isActiveWindow());
    }

    void aClosingButtonIsToldFromAKey()
    {
        AppDelegate::showMessageInbox({u"a"_s, u"b"_s, 0, 1});
        QWidget& message = *window("MessageInbox");
        QVERIFY(activate(&message));
        auto& guard = *message.findChild<InputGuard*>();
        guard.begin(InputGuard::Inputs::Keyboard);
        QVERIFY(xdotool(u"mousemove 5 5 key alt+F4"_s));
        QVERIFY(message.isVisible());
        guard.begin(InputGuard::Inputs::Keyboard);
        const QPoint button = message.frameGeometry().topRight() + QPoint(-12, 10);
        QVERIFY(xdotool(u"mousemove %1 %2 click 1"_s.arg(button.x()).arg(button.y())));
        QTRY_VERIFY(window("MessageInbox") == nullptr);
    }

    void aDoubleClickEndsOneSession()
    {
        AppDelegate::requestChat(5, 7);
        showSessions();
        QVERIFY(xdotool(u"click --repeat 2 --delay 80 1"_s));
        QCOMPARE(answers(), QByteArrayList({"#####close_chat=5", "#####disconnect_session=7"}));
        QCOMPARE(AgentFixture::sessionLists(), u"[8Bob][8Bob]"_s);
    }

    void aPressMeansTheSessionThatStoodThere()
    {
        showSessions();
        QVERIFY(xdotool(u"mousedown 1"_s));
        AppDelegate::sessionDisconnected(7);
        QVERIFY(xdotool(u"mouseup 1"_s));
        QVERIFY(xdotool(u"click 1"_s)); // begun after the row has moved
        QCOMPARE(answers(), QByteArrayList());
        QTest::qWait(700); // the time itself: after it the row means Bob
        QVERIFY(xdotool(u"click 1"_s));
        QCOMPARE(answers(), QByteArrayList{"#####disconnect_session=8"});
    }

    void aBlankEndsNothingThatNobodyAimedAt()
    {
        showSessions();
        // Nor after the user has been in the window: it comes up again when a session ends.
        window("ConnectionStatus")->findChild<QWidget*>(u"abort"_s)->setFocus();
        AppDelegate::state().connectionStatus->presentByService();
        QVERIFY(AgentFixture::waitUntilHeard(window("ConnectionStatus")));
        QVERIFY(xdotool(u"key space Return"_s));
        QCOMPARE(answers(), QByteArrayList());
        QVERIFY(xdotool(u"key Tab Tab space Tab Tab space shift+Tab space"_s));
        QCOMPARE(answers(), QByteArrayList({"#####chat_request=7", "#####chat_request=8",
                                            "#####disconnect_session=7"}));
    }

    void theQuestionCannotBeMissed()
    {
        AppDelegate::requestChat(5, 7);
        QVERIFY(activate(window("ChatController")));
        AppDelegate::userAcknowledgeRequest(1, u"srv"_s, u"Ann"_s);
        QWidget* const question = window("UserAcknowlegement");
        QTRY_VERIFY(wantsAttention(*question));
        QVERIFY(QTest::qWaitForWindowExposed(question) && xdotool(u"mousemove 5 5"_s)); // as above
        QVERIFY(!question->isActiveWindow()); // the user writes in the chat
        QVERIFY(activate(question));
        QTRY_VERIFY(!wantsAttention(*question));
        AppDelegate::showMessageInbox({u"a"_s, u"b"_s, 0, 1});
        AppDelegate::connectionDisplay();
        AppDelegate::about();
        for (const char* const name :
             {"MessageInbox", "ChatController", "ConnectionStatus", "AboutController"}) {
            QVERIFY2(QTest::qWaitForWindowExposed(window(name)), name);
            QTRY_VERIFY(isOnTop(*question));
            QVERIFY2(question->isActiveWindow(), name);
            // Not even the user's own click hides it.
            QVERIFY2(activate(window(name)), name);
            QTRY_VERIFY(isOnTop(*question));
            QVERIFY(activate(question));
        }
        (void)xdotool(u"windowminimize %1"_s.arg(question->winId()));
        QTRY_VERIFY(!question->isMinimized() && question->windowHandle()->isExposed());
        (void)xdotool(u"key alt+F4"_s);
        QVERIFY(question->isVisible());
    }
};

QTEST_MAIN(TestHabits)
#include "tst_habits.moc"

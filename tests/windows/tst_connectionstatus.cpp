#include <QAbstractButton>
#include <QLabel>
#include <QScreen>
#include <QTest>
#include <QTimer>

#include "AgentFixture.h"
#include "agent_core/Intervals.h"
#include "windows/SessionClock.h"

namespace {

void addSession(qint64 number, const QString& name, double secondsAgo)
{
    AppDelegate::addSession({number, QStringLiteral("desk"), name, sessionDateNow() - secondsAgo});
    AppDelegate::configConnectionStatus();
}

} // namespace

// The connection status window on a real screen, with a real window manager.
class TestConnectionStatus : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_agent.reset(); }

    void clockTexts_data();
    void clockTexts();
    void heightsAndPlace();
    void statesInWords();
    void slotsFollowTheirSessions();
    void endButtonsFollowTheManagement();
    void endsASession();
    void endsNothingInAnEmptySlot();
    void asksForAChat();
    void strayKeysEndNothing();
    void longNamesStayInTheWindow();
    void customLogo();

private:
    template <typename Widget>
    Widget* find(const char* name)
    {
        return m_agent->window()->findChild<Widget*>(QLatin1String(name));
    }
    [[nodiscard]] QString text(const char* name) { return find<QLabel>(name)->text(); }
    [[nodiscard]] ConnectionStatus& status() { return *AppDelegate::connectionStatus; }

    std::unique_ptr<AgentFixture> m_agent;
};

void TestConnectionStatus::init()
{
    m_agent = std::make_unique<AgentFixture>();
    QVERIFY(m_agent->start());
}

void TestConnectionStatus::clockTexts_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("text"); // empty: as it was

    QTest::newRow("nothing yet") << 1.0 << "";
    QTest::newRow("just over") << 1.001 << "0:01";
    QTest::newRow("nine") << 9.9 << "0:09";
    QTest::newRow("ten") << 10.0 << "0:10";
    QTest::newRow("almost a minute") << 59.5 << "0:59";
    QTest::newRow("a minute") << 60.0 << "1:00";
    QTest::newRow("minutes") << 65.9 << "1:05";
    QTest::newRow("an hour") << 3600.0 << "1:00:00";
    QTest::newRow("hours") << 3723.0 << "1:02:03";
    QTest::newRow("a day") << 90061.0 << "1:01:01:01";
    QTest::newRow("the future") << -5.0 << "";
    QTest::newRow("no number") << qQNaN() << "";
    QTest::newRow("beyond all clocks") << 1e300 << "";
}

void TestConnectionStatus::clockTexts()
{
    QFETCH(double, seconds);
    QTEST(elapsedText(seconds).value_or(QString()), "text");
}

void TestConnectionStatus::heightsAndPlace()
{
    status().present();
    QVERIFY(QTest::qWaitForWindowActive(m_agent->window()));
    const auto isPlaced = [this] {
        const QRect frame = m_agent->window()->frameGeometry();
        return frame.top() == 0 &&
               frame.right() + 1 == m_agent->window()->screen()->geometry().width() &&
               frame.height() > m_agent->window()->height();
    };
    for (const auto& [sessions, height] :
         {std::pair(0, 153), {1, 233}, {2, 313}, {3, 313}, {1, 233}}) {
        while (AppDelegate::sessions.size() > sessions) {
            AppDelegate::endSession(AppDelegate::sessions.constLast().session);
        }
        while (AppDelegate::sessions.size() < sessions) {
            AppDelegate::addSession({AppDelegate::sessions.size() + 1, {}, {}, {}});
        }
        status().config();
        QTRY_COMPARE(m_agent->window()->size(), QSize(313, height));
        QTRY_VERIFY(isPlaced());
    }
}

void TestConnectionStatus::statesInWords()
{
    status().present();
    QCOMPARE(text("agentDesc"), QString());
    status().accountIsValid = false;
    status().config();
    QCOMPARE(text("agentDesc"), QStringLiteral("Account is blocked or no longer exists"));
    status().accountIsValid = true;
    status().config();
    QCOMPARE(text("agentDesc"), QStringLiteral("No gateway available"));
    AppDelegate::setGateway(true, QStringLiteral("<b>gw</b>"));
    status().config();
    QCOMPARE(text("agentDesc"), QStringLiteral("Agent ready"));
    QCOMPARE(find<QLabel>("gateway_status")->toolTip(), QString());
    AppDelegate::showConnectionDetail = true;
    status().config();
    QVERIFY(find<QLabel>("gateway_status")->toolTip().contains(QLatin1String("&lt;b&gt;gw")));
}

void TestConnectionStatus::slotsFollowTheirSessions()
{
    Intervals::current().clock = std::chrono::milliseconds(20);
    status().present();
    addSession(7, QStringLiteral("Ann"), 65);
    addSession(8, QStringLiteral("Bob"), 3723);
    QTRY_COMPARE(text("timing"), QStringLiteral("1:05"));
    QTRY_COMPARE(text("timing2"), QStringLiteral("1:02:03"));
    QCOMPARE(text("ControlUserName"), QStringLiteral("Ann"));
    QCOMPARE(text("ControlUserName2"), QStringLiteral("Bob"));
    QVERIFY(status().sessionTimer && status().sessionTimer2);
    // A clock that is told to start goes on running.
    const QTimer* const clock = status().sessionTimer;
    status().config();
    QCOMPARE(status().sessionTimer, clock);

    AppDelegate::endSession(7);
    status().config();
    QCOMPARE(text("ControlUserName"), QStringLiteral("Bob"));
    QCOMPARE(text("timing"), QStringLiteral("1:02:03")); // never Ann's time under Bob's name
    QCOMPARE(text("timing2"), QString());
    QVERIFY(status().sessionTimer && !status().sessionTimer2);

    AppDelegate::endSession(8);
    status().config();
    QCOMPARE(text("timing") + text("ControlUserName"), QString());
    QVERIFY(!status().isAnyClockRunning());
    // The next session's clock has nothing to show yet.
    addSession(9, QStringLiteral("Eve"), 0);
    QTest::qWait(100);
    QCOMPARE(text("timing"), QString());
}

void TestConnectionStatus::endButtonsFollowTheManagement()
{
    status().present();
    addSession(7, QStringLiteral("Ann"), 5);
    QVERIFY(find<QWidget>("abort")->isVisible());
    AppDelegate::isManaged = false;
    status().config();
    QVERIFY(!find<QWidget>("abort")->isVisible() && find<QWidget>("ChatButton")->isVisible());
    QVERIFY(
        !find<QWidget>("slot2")->isVisible()); // below the edge, and out of the keyboard's reach
}

void TestConnectionStatus::endsASession()
{
    status().present();
    addSession(7, QStringLiteral("Ann"), 5);
    addSession(8, QStringLiteral("Bob"), 5);
    QVERIFY(QTest::qWaitForWindowActive(m_agent->window()));
    m_agent->forget();
    QTest::mouseClick(find<QWidget>("abort2"), Qt::LeftButton);
    // Gone for the person before the service has heard of it.
    QCOMPARE(AppDelegate::sessions.size(), 1);
    QCOMPARE(status().sessions.size(), 1);
    QCOMPARE(m_agent->window()->height(), 233);
    QTRY_COMPARE(m_agent->sent(), QByteArrayList{"#####disconnect_session=8"});
    m_agent->forget();
    QTest::mouseClick(find<QWidget>("abort"), Qt::LeftButton);
    QTRY_COMPARE(m_agent->sent(), QByteArrayList{"#####disconnect_session=7"});
    QVERIFY(status().isVisible());
}

void TestConnectionStatus::endsNothingInAnEmptySlot()
{
    status().present();
    addSession(7, QStringLiteral("Ann"), 5);
    addSession(8, QStringLiteral("Bob"), 5);
    AppDelegate::sessions.removeLast(); // the window has not heard of it yet
    m_agent->forget();
    status().Abort2();
    QVERIFY(!status().sessionTimer2 && status().sessionTimer);
    status().ChatAction2();
    status().Abort();
    QTRY_COMPARE(m_agent->sent(), QByteArrayList{"#####disconnect_session=7"});
}

void TestConnectionStatus::asksForAChat()
{
    status().present();
    addSession(-7, QStringLiteral("Ann"), 5);
    addSession(8, QStringLiteral("Bob"), 5);
    m_agent->forget();
    QTest::mouseClick(find<QWidget>("ChatButton"), Qt::LeftButton);
    QTRY_COMPARE(m_agent->sent(), QByteArrayList{"#####chat_request=-7"});
    m_agent->forget();
    QTest::mouseClick(find<QWidget>("ChatButton2"), Qt::LeftButton);
    QTRY_COMPARE(m_agent->sent(), QByteArrayList{"#####chat_request=8"});
}

void TestConnectionStatus::strayKeysEndNothing()
{
    addSession(7, QStringLiteral("Ann"), 5);
    status().presentByService();
    QVERIFY(QTest::qWaitForWindowActive(m_agent->window()));
    auto* const abort = find<QAbstractButton>("abort");
    abort->setFocus();
    QTest::keyClick(abort, Qt::Key_Space);
    QCOMPARE(AppDelegate::sessions.size(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(
        (QTest::keyClick(abort, Qt::Key_Space), AppDelegate::sessions.isEmpty()), 2000);
}

void TestConnectionStatus::longNamesStayInTheWindow()
{
    const QString name = QString(65'000, u'W') + QStringLiteral("\n<b>x</b>");
    addSession(7, name, 5);
    status().present();
    QVERIFY(QTest::qWaitForWindowActive(m_agent->window()));
    const QWidget* const abort = find<QWidget>("abort");
    const QRect place(abort->mapTo(m_agent->window(), QPoint()), abort->size());
    QVERIFY(m_agent->window()->rect().contains(place));
    QVERIFY(text("ControlUserName").size() < 100);
    QVERIFY(find<QLabel>("ControlUserName")->toolTip().contains(QLatin1String("WWWW")));
    QCOMPARE(find<QLabel>("ControlUserName")->accessibleName(), name);
}

void TestConnectionStatus::customLogo()
{
    const auto shown = [this] { return find<QLabel>("logo")->pixmap().toImage(); };
    status().present();
    const QImage bundled = shown();
    const QString path = m_agent->preferences(QStringLiteral("custom-logo.png"));
    QVERIFY(writeFile(path, "no picture"));
    status().refresh(false);
    QCOMPARE(shown(), bundled);
    QImage custom(4000, 1000, QImage::Format_RGB32);
    custom.fill(Qt::magenta);
    QVERIFY(custom.save(path));
    status().refresh(false);
    QCOMPARE(shown().pixelColor(1, 1), QColor(Qt::magenta));
    QVERIFY(shown().width() <= 160 * find<QLabel>("logo")->devicePixelRatioF());
    QVERIFY(QFile::remove(path));
    status().refresh(false);
    QCOMPARE(shown(), bundled);
}

QTEST_MAIN(TestConnectionStatus)
#include "tst_connectionstatus.moc"

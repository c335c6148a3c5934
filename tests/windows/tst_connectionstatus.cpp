#include "AgentFixture.h"
#include "records/Intervals.h"
#include "windows/ConnectionStatus.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTest>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

// The connection status window on a real screen, with a real window manager.
class TestConnectionStatus : public AgentTest {
    Q_OBJECT

private:
    template <typename Widget>
    Widget* find(const char* name)
    {
        return m_agent->window()->findChild<Widget*>(QLatin1StringView(name));
    }
    QString text(const char* name) { return find<QLabel>(name)->text(); }
    static ConnectionStatus& status() { return *AppDelegate::state().connectionStatus; }

    static void addSession(qint64 number, const QString& name, double secondsAgo)
    {
        AppDelegate::addSession({number, u"desk"_s, name, sessionDateNow() - secondsAgo});
        status().config();
    }

    // Ann in the upper slot, Bob in the lower one.
    void present()
    {
        addSession(-7, u"Ann"_s, 65);
        addSession(8, u"Bob"_s, 3723);
        status().present();
        QVERIFY(QTest::qWaitForWindowActive(m_agent->window()));
        m_agent->forget();
    }

private Q_SLOTS:
    void clockTexts()
    {
        const std::pair<double, QString> expectations[] = {
            // empty: as it was
            {1.0, {}},
            {1.001, u"0:01"_s},
            {59.5, u"0:59"_s},
            {3600.0, u"1:00:00"_s},
            {90061.0, u"1:01:01:01"_s},
            {qQNaN(), {}},
            {1e300, {}},
        };
        for (const auto& [seconds, text] : expectations) {
            QCOMPARE(elapsedText(seconds).value_or(QString()), text);
        }
    }

    void staysInItsCornerAtEveryHeight()
    {
        present();
        const auto isPlaced = [this] {
            const QRect frame = m_agent->window()->frameGeometry();
            return frame.top() == 0 &&
                   frame.right() == m_agent->window()->screen()->geometry().right() &&
                   frame.height() > m_agent->window()->height();
        };
        for (const int height : {313, 233, 153}) {
            status().config();
            QTRY_COMPARE(m_agent->window()->size(), QSize(313, height));
            QTRY_VERIFY(isPlaced());
            AppDelegate::removeConnectionSession(height == 313 ? 8 : -7);
        }
    }

    void keepsClearOfAPanelThatNobodyTellsOf()
    {
        auto* const server =
            qApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
        const auto atom = [&](const QByteArray& name) {
            const auto cookie = xcb_intern_atom(server, 0, static_cast<quint16>(name.size()), name);
            const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
                xcb_intern_atom_reply(server, cookie, nullptr), &std::free);
            return reply->atom;
        };
        const auto setSupported = [&](const QList<xcb_atom_t>& hints) {
            xcb_change_property(server, XCB_PROP_MODE_REPLACE, root, atom("_NET_SUPPORTED"),
                                XCB_ATOM_ATOM, 32, static_cast<quint32>(hints.size()),
                                hints.constData());
        };
        present();
        setSupported({atom("_NET_WM_STATE")});
        status().setPosition();
        const auto place = [this] { return m_agent->window()->frameGeometry(); };
        const int right = m_agent->window()->screen()->geometry().right();
        QTRY_COMPARE(place().top(), 32);
        QCOMPARE(place().right(), right - 16);
        setSupported({atom("_NET_WM_STATE"), atom("_NET_WORKAREA")});
        status().setPosition();
        QTRY_COMPARE(place().top(), 0);
        QCOMPARE(place().right(), right);
    }

    void statesInWords()
    {
        const auto words = [this] {
            status().config();
            return text("agentDesc");
        };
        status().present();
        QCOMPARE(words(), QString());
        status().accountIsValid = false;
        QCOMPARE(words(), u"Account is blocked or no longer exists"_s);
        status().accountIsValid = true;
        QCOMPARE(words(), u"No gateway available"_s);
        status().showConnectionDetail = true;
        AppDelegate::gatewayConnected(u"<b>gw</b>"_s);
        QCOMPARE(words(), u"Agent ready"_s);
        QVERIFY(find<QLabel>("gateway_status")->toolTip().contains(u"&lt;b&gt;gw"));
    }

    void slotsFollowTheirSessions()
    {
        Intervals::current().clock = std::chrono::milliseconds(20);
        present();
        QTRY_COMPARE(text("timing") + text("timing2"), u"1:051:02:03"_s);
        QCOMPARE(text("ControlUserName") + text("ControlUserName2"), u"AnnBob"_s);
        find<QWidget>("abort2")->setFocus();
        AppDelegate::removeConnectionSession(-7);
        status().config();
        QCOMPARE(text("ControlUserName"), u"Bob"_s);
        QCOMPARE(text("timing"), u"1:02:03"_s);        // never Ann's time under Bob's name
        QVERIFY(!find<QWidget>("slot2")->isVisible()); // out of the keyboard's reach
        QCOMPARE(text("timing2"), QString());
        // The keyboard does not pass to the other session's button.
        QCOMPARE(m_agent->window()->focusWidget(), find<QWidget>("agentDesc"));

        AppDelegate::removeConnectionSession(8);
        status().config();
        QCOMPARE(text("timing") + text("ControlUserName"), QString());
        QVERIFY(!status().sessionTimer.isActive());
    }

    void longNamesStayInTheWindow()
    {
        const QString name = QString(65'000, u'W') + u"\n<b>x</b>"_s;
        addSession(7, name, 5);
        status().present();
        QVERIFY(QTest::qWaitForWindowActive(m_agent->window()));
        const QWidget* const abort = find<QWidget>("abort");
        const QRect place(abort->mapTo(m_agent->window(), QPoint()), abort->size());
        QVERIFY(m_agent->window()->rect().contains(place));
        QVERIFY(text("ControlUserName").size() < 100);
        QCOMPARE(find<QLabel>("ControlUserName")->accessibleName(), name);
    }

    void customLogo()
    {
        const auto shown = [this] {
            status().refresh();
            return find<QLabel>("logo")->pixmap().toImage();
        };
        status().present();
        const QImage bundled = shown();
        const QString path = m_agent->preferences(u"custom-logo.png"_s);
        QVERIFY(writeFile(path, "no picture"));
        QCOMPARE(shown(), bundled);
        QImage custom(4000, 1000, QImage::Format_RGB32);
        custom.fill(Qt::magenta);
        QVERIFY(custom.save(path));
        QCOMPARE(shown().pixelColor(1, 1), QColor(Qt::magenta));
        QVERIFY(shown().width() <= 160 * find<QLabel>("logo")->devicePixelRatioF());
    }
};

QTEST_MAIN(TestConnectionStatus)
#include "tst_connectionstatus.moc"

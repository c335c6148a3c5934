#include "AgentFixture.h"
#include "localisation/ShownText.h"
#include "records/Intervals.h"
#include "window_kit/InputGuard.h"
#include "windows/AcknowledgementText.h"
#include "windows/ArrivalTime.h"
#include "windows/MessageInbox.h"
#include "windows/UserAcknowlegement.h"

#include <QAccessible>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

const QString kQuestion = u" asks you to accept remote control of this computer by "_s;

void pressByScreenReader(QPushButton& button)
{
    QAccessible::queryAccessibleInterface(&button)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
}

} // namespace

// Connection status, questions and messages on a real screen, with a real window manager.
class TestWindows : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    void slotsFollowTheirSessions()
    {
        Intervals::current().clock = std::chrono::milliseconds(20);
        const QString bob = u"Bob"_s + QString(65'000, u'W') + u"\n<b>x</b>"_s;
        // Ann in the upper slot, Bob in the lower one.
        AppDelegate::state().sessions.add({-7, u"desk"_s, u"Ann"_s, sessionDateNow() - 65});
        AppDelegate::state().sessions.add({8, u"desk"_s, bob, sessionDateNow() - 3723});
        status().present();
        QVERIFY(QTest::qWaitForWindowActive(&status()));
        QTRY_COMPARE(text("timing") + text("timing2"), u"1:051:02:03"_s);
        QTRY_COMPARE(status().size(), QSize(313, 313));
        QCOMPARE(text("ControlUserName"), u"Ann"_s);
        auto* const abort = find<QWidget>("abort2");
        QVERIFY(status().rect().contains(abort->mapTo(&status(), abort->rect().bottomRight())));
        abort->setFocus();
        AppDelegate::removeConnectionSession(-7);
        status().config();
        QVERIFY(text("ControlUserName").startsWith(u"BobWW") &&
                text("ControlUserName").size() < 100);
        QCOMPARE(find("ControlUserName")->accessibleName(), bob);
        QCOMPARE(text("timing"), u"1:02:03"_s);        // never Ann's time under Bob's name
        QVERIFY(!find<QWidget>("slot2")->isVisible()); // out of the keyboard's reach
        // The keyboard does not pass to the other session's button.
        QCOMPARE(status().focusWidget(), find<QWidget>("agentDesc"));

        AppDelegate::removeConnectionSession(8);
        status().config();
        QCOMPARE(text("timing") + text("ControlUserName"), QString());
        QVERIFY(!status().sessionTimer.isActive());
        QTRY_COMPARE(status().size(), QSize(313, 153)); // and in its corner at every height
        QTRY_COMPARE(status().frameGeometry().topRight(), status().screen()->geometry().topRight());
    }

    void answersOnceByEveryWayAndByNoOther()
    {
        QByteArrayList answers;
        for (const bool isByMouse : {true, false}) {
            for (const bool isAccepted : {false, true}) {
                ask("42;srv;Ann");
                QVERIFY(AgentFixture::waitUntilHeard(&dialog()));
                QVERIFY(dialog().isActiveWindow()); // also right after an answer
                for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Escape}) {
                    QTest::keyClick(dialog().focusWidget(), key);
                }
                QTest::keyClicks(dialog().focusWidget(), u"ad"_s, Qt::AltModifier);
                dialog().close();
                QVERIFY(dialog().isVisible());
                QPushButton& button = isAccepted ? *m_accept : *m_decline;
                if (isByMouse) {
                    QTest::mouseClick(&button, Qt::LeftButton);
                } else {
                    pressByScreenReader(button);
                }
                answers += isAccepted ? "#####accept_connection=42" : "#####decline_connection=42";
                QTRY_COMPARE(m_agent->sent(), answers);
                QVERIFY(!dialog().isVisible());
            }
        }
    }

    void aGuardDropsTextAndIsNeverWeakened()
    {
        QWidget window;
        QLineEdit field(&window);
        QPushButton button(&window);
        int presses = 0;
        InputGuard guard(&window);
        guard.connectButton(&button, [&presses] { ++presses; });
        guard.begin(InputGuard::Inputs::KeyboardAndMouse);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        guard.begin(InputGuard::Inputs::Keyboard); // the mouse is kept out as before
        QInputMethodEvent composed;
        composed.setCommitString(u"한"_s);
        const auto use = [&] {
            QTest::mouseClick(&field, Qt::LeftButton);
            QCoreApplication::sendEvent(&field, &composed);
            QTest::keyClicks(&field, u"x"_s);
            button.click(); // as a screen reader does: without an event
            return field.text();
        };
        QVERIFY(use().isEmpty() && presses == 0);
        QTRY_VERIFY(!guard.isOn());
        QVERIFY(use() == u"한x" && presses == 1);
        guard.begin(InputGuard::Inputs::Keyboard);
        QCOMPARE(use(), u"한x한x"_s); // who clicks in a window means it
    }

    // What was meant for one question never answers the next.
    void aSecondRequestTakesThePlaceOfTheFirst()
    {
        ask("1;srv;Ann");
        QVERIFY(AgentFixture::waitUntilHeard(&dialog()));
        pressByScreenReader(*m_accept); // clicks 100 ms later
        m_decline->setFocus();
        QTest::keyPress(m_decline, Qt::Key_Space);
        QTest::mousePress(m_accept, Qt::LeftButton);
        ask("2;other;Bob");
        QVERIFY(m_question->hasFocus());
        QTest::mouseRelease(m_accept, Qt::LeftButton);
        QTest::mouseClick(m_accept, Qt::LeftButton);
        QTest::keyRelease(m_decline, Qt::Key_Space);
        QTest::keyClick(m_decline, Qt::Key_Return);
        QVERIFY(AgentFixture::waitUntilHeard(&dialog()));
        QVERIFY(dialog().isVisible());
        QCOMPARE(m_question->text(), u"other"_s + kQuestion + u"Bob"_s);
        QVERIFY(dialog().findChild<QWidget*>(u"replaced"_s)->isVisible());
        QTest::mouseClick(m_decline, Qt::LeftButton);
        QTRY_COMPARE(m_agent->sent(), QByteArrayList{"#####decline_connection=2"});
    }

    void namesNeverMoveAnything()
    {
        ask("1;srv;Ann");
        ask("1;srv;Ann");
        QVERIFY(!dialog().findChild<QWidget*>(u"replaced"_s)->isVisible());
        ask("1;srv;Bob"); // from now on the dialog says that one request follows another
        ask("1;srv;Bob");
        const auto places = [this] {
            QCoreApplication::processEvents();
            return QList<QRect>{dialog().geometry(), m_accept->geometry(), m_decline->geometry()};
        };
        const auto before = places();
        for (const QString& name :
             {u"<h1>&amp;\n\u202eAnn\u2067\u05d0"_s, u"line\n"_s.repeated(13'000)}) {
            AppDelegate::userAcknowledgeRequest(2, name, name);
            QTRY_COMPARE(m_question->text(), name + kQuestion + name);
            QCOMPARE(places(), before);
            QCOMPARE(m_question->toolTip().isEmpty(), name.size() < 100);
        }
    }

    // ICU crashes with a language of more than eleven letters.
    void aLanguageThatIsNoneHasNoDate()
    {
        QCOMPARE(arrivalTime(QDateTime::currentDateTime(), u"notalanguage"_s), QString());
    }

    void anyTextIsShownPlainlyAndInPlace()
    {
        for (const QString& text :
             {u"<img src='x'><a href='y'>&lt;</a>"_s, // nothing to see:
              u"\u3164"_s, u"\n"_s.repeated(65'000), u"a\u202e\u2067\u05d0\0"_s.repeated(13'000)}) {
            const MessageInbox* const message =
                receive(text, std::numeric_limits<qint64>::max(), 1);
            QVERIFY(message->screen()->availableGeometry().contains(message->frameGeometry()));
            QVERIFY(message->rect().contains(message->findChild<QPushButton*>()->geometry()));
            const QString shown = message->findChild<QPlainTextEdit*>()->toPlainText();
            QVERIFY(!shown.contains(QChar(0)) && !shown.contains(QChar(0x202e)));
            QVERIFY(ShownText::isSeen(message->findChild<QLabel*>(u"Sender"_s)->text()));
            QCOMPARE(shown.left(1), text.left(1));
        }
    }

private:
    static ConnectionStatus& status() { return *AppDelegate::state().connectionStatus; }
    template <typename Widget = QLabel>
    static Widget* find(const char* name)
    {
        return status().findChild<Widget*>(QLatin1StringView(name));
    }
    static QString text(const char* name) { return find(name)->text(); }

    static UserAcknowledgement& dialog() { return *AppDelegate::state().userAcknowledge; }

    void ask(const QByteArray& request)
    {
        QVERIFY(m_agent->send("user_acknowledgement=" + request));
        QTRY_VERIFY(dialog().isActiveWindow());
        m_question = dialog().findChild<AcknowledgementText*>();
        m_decline = dialog().findChild<QPushButton*>(u"declineButton"_s);
        m_accept = dialog().findChild<QPushButton*>(u"acceptButton"_s);
    }

    static const QList<MessageInbox*>& messages() { return AppDelegate::state().messageInbox; }

    // A message whose sender bears its text, too.
    static MessageInbox* receive(const QString& text, qint64 timeout = 0, int kind = 0)
    {
        AppDelegate::showMessageInbox({text, text, timeout, kind});
        (void)QTest::qWaitForWindowExposed(messages().constLast());
        return messages().constLast();
    }

    AcknowledgementText* m_question = nullptr;
    QPushButton* m_decline = nullptr;
    QPushButton* m_accept = nullptr;
};

QTEST_MAIN(TestWindows)
#include "tst_windows.moc"

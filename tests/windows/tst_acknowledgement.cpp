#include "AgentFixture.h"
#include "window_kit/InputGuard.h"
#include "windows/AcknowledgementText.h"
#include "windows/UserAcknowlegement.h"

#include <QAccessible>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kQuestion = u" asks you to accept remote control of this computer by "_s;

void pressByScreenReader(QPushButton& button)
{
    QAccessible::queryAccessibleInterface(&button)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
}

} // namespace

class TestAcknowledgement : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
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
        ask("1;srv;Bob"); // from now on the dialog says that one request follows another
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

private:
    static UserAcknowledgement& dialog() { return *AppDelegate::state().userAcknowledge; }

    void ask(const QByteArray& request)
    {
        QVERIFY(m_agent->send("user_acknowledgement=" + request));
        QTRY_VERIFY(dialog().isActiveWindow());
        m_question = dialog().findChild<AcknowledgementText*>();
        m_decline = dialog().findChild<QPushButton*>(u"declineButton"_s);
        m_accept = dialog().findChild<QPushButton*>(u"acceptButton"_s);
    }

    AcknowledgementText* m_question = nullptr;
    QPushButton* m_decline = nullptr;
    QPushButton* m_accept = nullptr;
};

QTEST_MAIN(TestAcknowledgement)
#include "tst_acknowledgement.moc"

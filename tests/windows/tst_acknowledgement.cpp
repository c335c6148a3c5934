#include "AgentFixture.h"
#include "windows/AcknowledgementText.h"
#include "windows/UserAcknowlegement.h"

#include <QAccessible>
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

void pressByMouse(QPushButton& button)
{
    QTest::mouseClick(&button, Qt::LeftButton);
}

template <Qt::Key Key>
void pressByKey(QPushButton& button)
{
    for (int tabs = 0; tabs < 3 && !button.hasFocus(); ++tabs) {
        QTest::keyClick(button.window()->focusWidget(), Qt::Key_Tab);
    }
    QTest::keyClick(&button, Key);
}

} // namespace

class TestAcknowledgement : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    void answersOnceByEveryWayAndByNoOther()
    {
        QByteArrayList answers;
        for (const auto& press : {&pressByMouse, &pressByKey<Qt::Key_Space>,
                                  &pressByKey<Qt::Key_Return>, &pressByScreenReader}) {
            for (const bool isAccepted : {false, true}) {
                ask("42;srv;Ann");
                waitUntilAwake();
                QVERIFY(dialog().isActiveWindow()); // also right after an answer
                for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Escape}) {
                    QTest::keyClick(dialog().focusWidget(), key);
                }
                dialog().close();
                QVERIFY(dialog().isVisible());
                press(isAccepted ? *m_accept : *m_decline);
                answers += isAccepted ? "#####accept_connection=42" : "#####decline_connection=42";
                QTRY_COMPARE(m_agent->sent(), answers);
                QVERIFY(!dialog().isVisible());
                QCOMPARE(dialog().session, 0);
            }
        }
    }

    // What was meant for one question never answers the next.
    void aSecondRequestTakesThePlaceOfTheFirst()
    {
        ask("1;srv;Ann");
        waitUntilAwake();
        pressByScreenReader(*m_accept); // clicks 100 ms later
        m_decline->setFocus();
        QTest::keyPress(m_decline, Qt::Key_Space);
        QTest::mousePress(m_accept, Qt::LeftButton);
        ask("2;other;Bob");
        QVERIFY(m_question->hasFocus());
        QTest::mouseRelease(m_accept, Qt::LeftButton);
        pressByMouse(*m_accept);
        QTest::keyRelease(m_decline, Qt::Key_Space);
        QTest::keyClick(m_decline, Qt::Key_Return);
        waitUntilAwake();
        QVERIFY(dialog().isVisible());
        QCOMPARE(m_question->text(), u"other"_s + kQuestion + u"Bob"_s);
        QVERIFY(dialog().findChild<QWidget*>(u"replaced"_s)->isVisible());
        pressByMouse(*m_decline);
        QTRY_COMPARE(m_agent->sent(), QByteArrayList{"#####decline_connection=2"});
    }

    void namesNeverMoveAnything()
    {
        ask("1;srv;Ann");
        ask("1;srv;Bob"); // from now on the dialog says that one request follows another
        QCoreApplication::processEvents();
        const QSize size = dialog().size();
        const QRect buttons = m_accept->geometry() | m_decline->geometry();
        for (const auto& [name, isCut] : {std::pair(u"<h1>&amp;\n\u202eAnn\u2067\u05d0"_s, false),
                                          {u'A' + QString(1'000, QChar(0x301)) + QChar(0), false},
                                          {u"line\n"_s.repeated(13'000), true}}) {
            AppDelegate::userAcknowledgeRequest(2, name, name);
            QTRY_COMPARE(m_question->text(), name + kQuestion + name);
            QCoreApplication::processEvents();
            QCOMPARE(dialog().size(), size);
            QCOMPARE(m_accept->geometry() | m_decline->geometry(), buttons);
            QCOMPARE(!m_question->toolTip().isEmpty(), isCut);
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
    static void waitUntilAwake() { QVERIFY(AgentFixture::waitUntilHeard(&dialog())); }

    AcknowledgementText* m_question = nullptr;
    QPushButton* m_decline = nullptr;
    QPushButton* m_accept = nullptr;
};

QTEST_MAIN(TestAcknowledgement)
#include "tst_acknowledgement.moc"

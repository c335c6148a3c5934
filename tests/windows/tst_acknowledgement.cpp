#include <QAccessible>
#include <QMouseEvent>
#include <QPushButton>

#include "WindowFixture.h"
#include "windows/AcknowledgementText.h"
#include "windows/UserAcknowlegement.h"

namespace {

const QString kQuestion = u"asks you to accept remote control of this computer by"_qs;

// The dialog on the screen, by its outlets.
struct Dialog {
    QWidget* window;
    AcknowledgementText* question;
    QPushButton* decline;
    QPushButton* accept;
};

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

class TestAcknowledgement : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_agent = std::make_unique<WindowFixture>(); }
    void cleanup() { m_agent.reset(); }

    void answersOnceByEveryWay()
    {
        QString answers;
        for (const auto& press : {&pressByMouse, &pressByKey<Qt::Key_Space>,
                                  &pressByKey<Qt::Key_Return>, &pressByScreenReader}) {
            for (const bool isAccepted : {false, true}) {
                const Dialog dialog = ask(u"42;srv;Ann"_qs);
                waitUntilAwake();
                QVERIFY(dialog.window->isActiveWindow()); // also right after an answer
                press(isAccepted ? *dialog.accept : *dialog.decline);
                answers +=
                    isAccepted ? u"#####accept_connection=42"_qs : u"#####decline_connection=42"_qs;
                QTRY_COMPARE(m_agent->received(), answers);
                QVERIFY(!dialog.window->isVisible());
                QCOMPARE(AppDelegate::userAcknowledge->session, 0);
                QCOMPARE(AppDelegate::userAcknowledge->serverName, QString());
                QCOMPARE(AppDelegate::userAcknowledge->controlUserName, u"Ann"_qs);
            }
        }
    }

    void strayKeysAndClosingAnswerNothing()
    {
        const Dialog dialog = ask(u"42;srv;Ann"_qs);
        const auto typeAway = [](QWidget* focus) {
            for (const Qt::Key key :
                 {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Escape}) {
                QTest::keyClick(focus, key);
            }
        };
        // Also with the focus on a button, as long as the dialog is deaf.
        typeAway(dialog.accept);
        pressByMouse(*dialog.accept);
        waitUntilAwake();
        typeAway(dialog.window->focusWidget());
        dialog.window->close();
        QVERIFY(dialog.window->isVisible());
        // Anything sent before would stand before this.
        AppDelegate::send(u"end"_qs);
        QTRY_COMPARE(m_agent->received(), u"end"_qs);
    }

    // What was meant for one question never answers the next.
    void aSecondRequestTakesThePlaceOfTheFirst()
    {
        const Dialog dialog = ask(u"1;srv;Ann"_qs);
        waitUntilAwake();
        pressByScreenReader(*dialog.accept); // clicks 100 ms later
        dialog.decline->setFocus();
        QTest::keyPress(dialog.decline, Qt::Key_Space);
        QTest::mousePress(dialog.accept, Qt::LeftButton);
        ask(u"2;other;Bob"_qs);
        QVERIFY(dialog.question->hasFocus());
        for (const QPointF place : {QPointF(-9, -9), QPointF(9, 9)}) { // off the button and back
            QMouseEvent drag(QEvent::MouseMove, place, dialog.accept->mapToGlobal(place),
                             Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(dialog.accept, &drag);
        }
        QTest::mouseRelease(dialog.accept, Qt::LeftButton);
        pressByMouse(*dialog.accept);
        QTest::keyRelease(dialog.decline, Qt::Key_Space);
        QTest::keyClick(dialog.decline, Qt::Key_Return);
        waitUntilAwake();
        QVERIFY(dialog.window->isVisible());

        QCOMPARE(dialog.question->text(), u"other %1 Bob"_qs.arg(kQuestion));
        pressByMouse(*dialog.decline);
        QTRY_COMPARE(m_agent->received(), u"#####decline_connection=2"_qs);
    }

    void theServiceCanTakeItsRequestBack()
    {
        const Dialog dialog = ask(u"1;srv;Ann"_qs);
        m_agent->send(u"close_acknowledgement"_qs);
        QTRY_VERIFY(!dialog.window->isVisible());
        // One that comes right behind stays, and needs no link to be answered.
        MainQueue::post(&AppDelegate::closeAcknowledgement);
        AppDelegate::userAcknowledgeRequest(2, u"srv"_qs, u"Bob"_qs);
        QTRY_VERIFY(dialog.window->isVisible());
        QCoreApplication::processEvents();
        QVERIFY(dialog.window->isVisible());
        m_agent->unlink();
        AppDelegate::userAcknowledge->acceptAction();
        QVERIFY(!dialog.window->isVisible());
    }

    void namesNeverMoveAnything()
    {
        const Dialog dialog = ask(u"1;srv;Ann"_qs);
        const QSize size = dialog.window->size();
        const QRect buttons = dialog.accept->geometry() | dialog.decline->geometry();
        const QString shortOnes[] = {u"<h1>&amp;\n<b>x"_qs, u"\u202eAnn\u2067\u05d0"_qs,
                                     u'A' + QString(1'000, QChar(0x301)) + QChar(0)};
        const QString longOnes[] = {QString(65'000, u'W'), u"line\n"_qs.repeated(2'000)};
        const auto check = [&](const QString& name, bool isCut) {
            AppDelegate::userAcknowledgeRequest(2, name, name);
            QTRY_COMPARE(dialog.question->text(), name + u' ' + kQuestion + u' ' + name);
            QCoreApplication::processEvents();
            QCOMPARE(dialog.window->size(), size);
            QCOMPARE(dialog.accept->geometry() | dialog.decline->geometry(), buttons);
            QCOMPARE(!dialog.question->toolTip().isEmpty(), isCut);
        };
        std::for_each(std::begin(shortOnes), std::end(shortOnes),
                      [&](const QString& name) { check(name, false); });
        std::for_each(std::begin(longOnes), std::end(longOnes),
                      [&](const QString& name) { check(name, true); });
    }

    void fitsAndIsNamedInEveryLanguage()
    {
        const auto labels = getLanguageLabel();
        for (int language = 0; language < 7; ++language) {
            AppDelegate::language = static_cast<Language>(language);
            const Dialog dialog = ask(u"%1;srv;Ann"_qs.arg(language + 1));
            const JsonData::Info& data = labels->info(AppDelegate::language);
            QCOMPARE(
                QAccessible::queryAccessibleInterface(dialog.question)->text(QAccessible::Name),
                u"srv %1 Ann"_qs.arg(data.UserAck.user_ack_desc));
            QCOMPARE(dialog.decline->text(), data.Common.reject);
            QCOMPARE(dialog.accept->text(), data.Common.accept);
            QTRY_VERIFY(dialog.question->height() >=
                        dialog.question->heightForWidth(dialog.question->width()));
            QVERIFY(dialog.decline->width() >= dialog.decline->sizeHint().width());
            QVERIFY(dialog.accept->width() >= dialog.accept->sizeHint().width());
        }
    }

private:
    Dialog ask(const QString& request)
    {
        m_agent->send(u"user_acknowledgement="_qs + request);
        (void)QTest::qWaitFor([session = request.section(u';', 0, 0).toLongLong()] {
            return AppDelegate::userAcknowledge->session == session;
        });
        QWidget* const window = WindowFixture::windows(u"UserAcknowlegement"_qs).constFirst();
        (void)QTest::qWaitForWindowActive(window);
        m_shown.start();
        return {window, window->findChild<AcknowledgementText*>(u"user_ack_desc"_qs),
                window->findChild<QPushButton*>(u"declineButton"_qs),
                window->findChild<QPushButton*>(u"acceptButton"_qs)};
    }

    void waitUntilAwake() const { QTRY_VERIFY(m_shown.elapsed() > 650); }

    std::unique_ptr<WindowFixture> m_agent;
    QElapsedTimer m_shown;
};

QTEST_MAIN(TestAcknowledgement)
#include "tst_acknowledgement.moc"

#include "AgentFixture.h"
#include "localisation/ShownText.h"
#include "windows/MessageInbox.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

class TestMessageInbox : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    void closesByEveryWay()
    {
        for (const QString& way : {u"Return"_s, u"title bar"_s, u"count-down"_s}) {
            const QPointer<MessageInbox> first = receive(u"1"_s, way == u"count-down" ? 2 : 0);
            MessageInbox* const second = receive(u"2"_s);
            QVERIFY(AgentFixture::waitUntilHeard(second));
            if (way == u"Return") {
                QTest::keyClick(first->focusWidget(), Qt::Key_Return);
            } else if (way == u"title bar") {
                first->close();
            }
            QTRY_VERIFY2(first.isNull(), qPrintable(way));
            QCOMPARE(messages(), QList{second});
            QTest::mouseClick(second->findChild<QPushButton*>(), Qt::LeftButton);
            QTRY_VERIFY(messages().isEmpty());
        }
        QCOMPARE(m_agent->takeSent(), QByteArrayList()); // the service hears nothing
    }

    // The newest says how many had to go.
    void manyMessagesAreSummedUp()
    {
        const auto* label = receive({})->findChild<QLabel*>(u"notShown"_s);
        QVERIFY(!label->isVisible());
        for (int number = 2; number <= 22; ++number) {
            (void)receive({});
        }
        QCOMPARE(messages().size(), 20);
        messages().constLast()->QuitAction();
        label = messages().constLast()->findChild<QLabel*>(u"notShown"_s);
        QTRY_COMPARE(label->isVisible() ? label->text() : QString(),
                     u"2 earlier messages were closed"_s);
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
    static const QList<MessageInbox*>& messages() { return AppDelegate::state().messageInbox; }

    // A message whose sender bears its text, too.
    static MessageInbox* receive(const QString& text, qint64 timeout = 0, int kind = 0)
    {
        AppDelegate::showMessageInbox({text, text, timeout, kind});
        (void)QTest::qWaitForWindowExposed(messages().constLast());
        return messages().constLast();
    }
};

QTEST_MAIN(TestMessageInbox)
#include "tst_messageinbox.moc"

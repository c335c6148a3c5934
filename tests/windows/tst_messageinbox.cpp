#include "AgentFixture.h"
#include "localisation/ShownText.h"
#include "records/Intervals.h"
#include "windows/MessageInbox.h"

#include <QClipboard>
#include <QGuiApplication>
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
        for (const QString& way : {u"button"_s, u"Return"_s, u"title bar"_s, u"count-down"_s}) {
            const QPointer<MessageInbox> first = receive(u"1"_s, way == u"count-down" ? 2 : 0);
            MessageInbox* const second = receive(u"2"_s);
            QVERIFY(AgentFixture::waitUntilHeard(first));
            if (way == u"button") {
                QTest::mouseClick(first->findChild<QPushButton*>(), Qt::LeftButton);
            } else if (way == u"Return") {
                QTest::keyClick(first->focusWidget(), Qt::Key_Return);
            } else if (way == u"title bar") {
                first->close();
            }
            QTRY_VERIFY2(first.isNull(), qPrintable(way));
            QCOMPARE(messages(), QList{second});
            second->QuitAction();
        }
        QCOMPARE(m_agent->log().filter(u"deleted index=0"_s).size(), 8);
        QCOMPARE(m_agent->takeSent(), QByteArrayList()); // the service hears nothing
    }

    // The newest says how many had to go, until the user has closed the last one.
    void manyMessagesAreSummedUp()
    {
        const auto told = [] {
            QString lines;
            for (const MessageInbox* const message : messages()) {
                const auto* const label = message->findChild<QLabel*>(u"notShown"_s);
                lines += label->isVisible() ? label->text() : u"-"_s;
            }
            return lines;
        };
        for (int number = 1; number <= 20; ++number) {
            receive({});
        }
        QCOMPARE(told(), QString(20, u'-'));
        receive({});
        receive({}, 1);
        QCOMPARE(told(), QString(19, u'-') + u"and 2 more"_s);
        QTRY_COMPARE(told(), QString(18, u'-') + u"and 2 more"_s); // the newest closed by itself
        while (!messages().isEmpty()) {
            messages().constFirst()->QuitAction();
        }
        QCOMPARE(AppDelegate::state().messagesNotShown, 0);
    }

    void countsDownInTheLanguageOfTheMoment()
    {
        Intervals::current().clock = std::chrono::hours(1);
        MessageInbox* const message = receive(u"Hi"_s, 2);
        const auto* const line = message->findChild<QLabel*>(u"AutomaticMessage"_s);
        QCOMPARE(line->text(), u"Closes automatically in 2 sec"_s);
        AppDelegate::options.language = Language::Spanish;
        message->changeMessage();
        QCOMPARE(line->text(), u"Se cerrará automáticamente en 1 s"_s);
        QVERIFY(message->isVisible());
        message->changeMessage();
        QVERIFY(!message->isVisible());
        message->stopMessage(); // closed already: no second line
        QCOMPARE(m_agent->log().filter(u"deleted index="_s).size(), 1);
    }

    void anyTextIsShownPlainlyAndInPlace()
    {
        const QString texts[] = {
            u"<img src='x'><a href='y'>&lt;</a>"_s,
            QString(QChar(0x3164)), // nothing to see
            (u'A' + QString(1'000, QChar(0x301))).repeated(65),
            QString(65'000, u'\n'),
            u"a\u202e\u2067\u05d0\0"_s.repeated(13'000),
        };
        for (const QString& text : texts) {
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

    void whatIsCopiedIsWhatWasSent()
    {
        const QString address = u"https://"_s + QString(900, u'a');
        const QString sent = u"See "_s + QString(500, u'-') + u' ' + address + u"\nBye"_s;
        auto* const message = receive(sent)->findChild<QPlainTextEdit*>();
        QVERIFY(message->toPlainText().contains(address)); // in one piece
        message->selectAll();
        message->copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), sent);
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

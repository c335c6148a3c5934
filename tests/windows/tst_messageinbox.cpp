#include "AgentFixture.h"
#include "localisation/ShownText.h"
#include "records/Intervals.h"
#include "windows/MessageInbox.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QScreen>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

QPushButton* quit(const QWidget* window)
{
    return window->findChild<QPushButton*>(u"Quit"_s);
}

} // namespace

class TestMessageInbox : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    // That they can be read is tst_looks'.
    void aKindHasAPictureAndAColour()
    {
        const QStringList words = {
            {}, u"Information"_s, u"Question"_s, u"Caution"_s, u"Important warning"_s};
        for (int kind = -1; kind <= 5; ++kind) {
            const bool isKnown = kind >= 1 && kind <= 4;
            const QWidget* const window = receive(u"Hi"_s, 0, kind);
            const auto* const icon = window->findChild<QLabel*>(u"icon"_s);
            QCOMPARE(window->findChild<QLabel*>(u"kind"_s)->text(), words.value(kind));
            QCOMPARE(icon->isVisible() && !icon->pixmap().isNull(), isKnown);
            const QPalette message = window->findChild<QPlainTextEdit*>()->palette();
            QCOMPARE(message.color(QPalette::Text) != window->palette().color(QPalette::Text),
                     isKnown);
        }
    }

    void closesByEveryWay()
    {
        for (const QString& way : {u"button"_s, u"Return"_s, u"title bar"_s, u"count-down"_s}) {
            m_agent.reset();
            m_agent = std::make_unique<AgentFixture>();
            QVERIFY(m_agent->start());
            QWidget* const first = receive(u"1"_s, way == u"count-down" ? 2 : 0);
            receive(u"2"_s);
            const QPointer<MessageInbox> controller =
                AppDelegate::state().messageInbox.constFirst();
            QVERIFY(AgentFixture::waitUntilHeard(first));
            if (way == u"button") {
                QTest::mouseClick(quit(first), Qt::LeftButton);
            } else if (way == u"Return") {
                QTest::keyClick(first->focusWidget(), Qt::Key_Return);
            } else if (way == u"title bar") {
                first->close();
            }
            QTRY_VERIFY2(controller.isNull(), qPrintable(way));
            QCOMPARE(AppDelegate::state().messageInbox.size(), 1);
            QCOMPARE(open().size(), 1);
            QCOMPARE(m_agent->log().filter(u"deleted index=0"_s).size(), 1);
            QCOMPARE(m_agent->takeSent(), QByteArrayList()); // the service hears nothing
        }
    }

    // The newest says how many had to go, until the person has closed the last one.
    void manyMessagesAreSummedUp()
    {
        const auto show = [](int number, qint64 timeout) {
            AppDelegate::showMessageInbox({QString::number(number), {}, timeout, 0});
        };
        for (int i = 1; i <= 20; ++i) {
            show(i, 0);
        }
        const auto told = [this] {
            QString lines;
            for (const QWidget* const window : open()) {
                const auto* const label = window->findChild<QLabel*>(u"notShown"_s);
                const auto* const sender = window->findChild<QLabel*>(u"Sender"_s);
                lines += label->isVisible() ? sender->text() + u": "_s + label->text() : QString();
            }
            return lines;
        };
        QCOMPARE(told(), QString());
        show(21, 0);
        QCOMPARE(told(), u"21: and 1 more"_s);
        show(22, 1);
        QCOMPARE(told(), u"22: and 2 more"_s);
        QCOMPARE(open().size(), 20);
        QTRY_COMPARE(told(), u"21: and 2 more"_s); // the newest has closed by itself
        while (!AppDelegate::state().messageInbox.isEmpty()) {
            AppDelegate::state().messageInbox.constFirst()->QuitAction();
        }
        QCOMPARE(AppDelegate::state().messagesNotShown, 0);
    }

    void countsDownInTheLanguageOfTheMoment()
    {
        Intervals::current().clock = std::chrono::hours(1);
        const QWidget* const window = receive(u"Hi"_s, 2);
        MessageInbox* const controller = AppDelegate::state().messageInbox.constFirst();
        const auto* const line = window->findChild<QLabel*>(u"AutomaticMessage"_s);
        QCOMPARE(line->text(), u"Closes automatically in 2 sec"_s);
        AppDelegate::options.language = Language::Spanish;
        controller->changeMessage();
        QCOMPARE(line->text(), u"Se cerrará automáticamente en 1 s"_s);
        QVERIFY(window->isVisible());
        controller->changeMessage();
        QVERIFY(!window->isVisible());
        controller->stopMessage(); // closed already: no second line
        QCOMPARE(m_agent->log().filter(u"deleted index="_s).size(), 1);
    }

    void anyTextIsShownPlainlyAndInPlace_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("markup") << u"<img src='x'><a href='y'>&lt;</a>"_s;
        QTest::newRow("controls") << QString::fromLatin1("a\0\a\x1b[31m\x7f\r\nb", 12);
        QTest::newRow("nothing to see") << QString(QChar(0x3164));
        QTest::newRow("towers") << (u'A' + QString(1'000, QChar(0x301))).repeated(65);
        QTest::newRow("without blanks") << QString(65'000, QChar(0xac00));
        QTest::newRow("many lines") << QString(65'000, u'\n');
        QTest::newRow("directions") << u"a\u202e\u2067\u05d0"_s.repeated(16'000);
    }
    void anyTextIsShownPlainlyAndInPlace()
    {
        QFETCH(QString, text);
        const QWidget* const window = receive(text, std::numeric_limits<qint64>::max(), 1);
        QVERIFY(window->screen()->availableGeometry().contains(window->frameGeometry()));
        QVERIFY(window->rect().contains(quit(window)->geometry()));
        const QString shown = window->findChild<QPlainTextEdit*>()->toPlainText();
        QVERIFY(!shown.contains(QChar(0)) && !shown.contains(QChar(0x202e)));
        QVERIFY(ShownText::isSeen(window->findChild<QLabel*>(u"Sender"_s)->text()));
        QCOMPARE(shown.left(1), text.left(1));
    }

    void comesWithoutLabels()
    {
        const QString path =
            QCoreApplication::applicationDirPath() + u"/Resources/translate.json"_s;
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray labels = file.readAll();
        const auto restore = qScopeGuard([path, labels] { writeFile(path, labels); });
        QVERIFY(writeFile(path, labels.chopped(9)) && receive(u"Hi"_s)->isVisible());
        QVERIFY(QFile::remove(path) && receive(u"Hi"_s)->isVisible());
        QVERIFY(!m_agent->errorLog().filter(u"error to get language"_s).isEmpty());
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
    static QWidgetList open()
    {
        QWidgetList found = QApplication::topLevelWidgets();
        found.removeIf([](const QWidget* window) {
            return window->objectName() != u"MessageInbox" || !window->isVisible();
        });
        return found;
    }

    // The window of a message whose sender bears its text, too.
    QWidget* receive(const QString& text, qint64 timeout = 0, int kind = 0)
    {
        const QWidgetList before = open();
        AppDelegate::showMessageInbox({text, text, timeout, kind});
        (void)QTest::qWaitFor([&] { return open().size() > before.size(); });
        QWidgetList added = open();
        added.removeIf([&](QWidget* window) { return before.contains(window); });
        (void)QTest::qWaitForWindowExposed(added.constFirst());
        return added.constFirst();
    }
};

QTEST_MAIN(TestMessageInbox)
#include "tst_messageinbox.moc"

#include <functional>
#include <limits>

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTimer>

#include "WindowFixture.h"
#include "windows/Contrast.h"
#include "windows/ElidedLabel.h"
#include "windows/MessageInbox.h"
#include "windows/MessageKind.h"

using Closing = std::function<void(QWidget*)>;
Q_DECLARE_METATYPE(Closing)

namespace {

QString label(const QWidget* window, const QString& name)
{
    return window->findChild<QLabel*>(name)->text();
}

QPlainTextEdit* message(const QWidget* window)
{
    return window->findChild<QPlainTextEdit*>(u"message"_qs);
}

QPushButton* quit(const QWidget* window)
{
    return window->findChild<QPushButton*>(u"Quit"_qs);
}

} // namespace

class TestMessageInbox : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_agent = std::make_unique<WindowFixture>(); }
    void cleanup() { m_agent.reset(); }

    void showsWhoWhenAndWhat()
    {
        qputenv("LANGUAGE", "de_DE");
        AppDelegate::language = Language::French;
        const QWidget* const window = receive(u"<b>Ann</b>"_qs, u"Hi"_qs);
        qunsetenv("LANGUAGE");
        QCOMPARE(window->windowTitle(), u"vantory"_qs);
        QCOMPARE(label(window, u"Sender"_qs), u"<b>Ann</b>"_qs);
        QCOMPARE(label(window, u"ReceivedLabel"_qs), u"Reçu le"_qs);
        // By the language that the person prefers, not by that of the labels.
        QVERIFY(label(window, u"TimeLabel"_qs).contains(u" um "_qs));
        QVERIFY(message(window)->isReadOnly());
    }

    void aKindHasAPictureAndAReadableColour()
    {
        for (const int kind : {-1, 0, 1, 2, 3, 4, 5}) {
            const bool isKnown = kind >= 1 && kind <= 4;
            const QWidget* const window = receive(u"Ann"_qs, u"Hi"_qs, 0, kind);
            QCOMPARE(window->findChild<QLabel*>(u"icon"_qs)->isVisible(), isKnown);
            // Open windows follow a change.
            for (const QColor& ground :
                 {QColor(0x2d, 0x2d, 0x2d), QColor(0xef, 0xef, 0xef), QColor(Qt::white)}) {
                QPalette palette(ground);
                palette.setColor(QPalette::Base, ground);
                QApplication::setPalette(palette);
                QTRY_COMPARE(message(window)->palette().color(QPalette::Base), ground);
                const QColor text = message(window)->palette().color(QPalette::Text);
                QVERIFY(Contrast::ratio(text, ground) >= 4.5);
                QCOMPARE(text != palette.color(QPalette::Text), isKnown);
            }
            QVERIFY(!MessageKind::textColour(kind, QColor(0x80, 0x80, 0x80)));
        }
    }

    void closesByEveryWay_data()
    {
        QTest::addColumn<int>("timeout");
        QTest::addColumn<Closing>("close");
        QTest::newRow("button") << 0 << Closing([](QWidget* window) {
            QTest::mouseClick(quit(window), Qt::LeftButton);
        });
        QTest::newRow("Return") << 0 << Closing([](QWidget* window) {
            QTest::keyClick(window->focusWidget(), Qt::Key_Return);
        });
        QTest::newRow("title bar") << 0 << Closing(&QWidget::close);
        QTest::newRow("count-down") << 2 << Closing([](QWidget*) {});
    }

    void closesByEveryWay()
    {
        QFETCH(int, timeout);
        QFETCH(Closing, close);
        QWidget* const first = receive(u"Ann"_qs, u"1"_qs, timeout);
        receive(u"Ann"_qs, u"2"_qs);
        const QPointer<MessageInbox> controller = AppDelegate::messageInbox.constFirst();
        // What was typed elsewhere as it came up closes nothing.
        QTest::keyClick(first->focusWidget(), Qt::Key_Return);
        QVERIFY(first->isVisible());
        QTRY_VERIFY(m_shown.elapsed() > 650);
        close(first);
        QTRY_VERIFY(controller.isNull());
        QCOMPARE(AppDelegate::messageInbox.size(), 1);
        QCOMPARE(open().size(), 1);
        QCOMPARE(WindowFixture::log().count(u"deleted index=0\n"_qs), 1);
        AppDelegate::send(u"end"_qs); // the service hears nothing else
        QTRY_COMPARE(m_agent->received(), u"end"_qs);
    }

    void countsDown()
    {
        Intervals::current().clock = std::chrono::hours(1);
        const QWidget* const window = receive(u"Ann"_qs, u"Hi"_qs, 2);
        MessageInbox* const controller = AppDelegate::messageInbox.constFirst();
        QCOMPARE(label(window, u"AutomaticMessage"_qs), u"Closes automatically in 2 sec"_qs);
        AppDelegate::language = Language::Spanish;
        controller->changeMessage();
        QCOMPARE(label(window, u"AutomaticMessage"_qs), u"Se cerrará automáticamente en 1 s"_qs);
        QCOMPARE(quit(window)->text(), u"Aceptar"_qs);
        QVERIFY(window->isVisible());
        controller->changeMessage();
        QVERIFY(!window->isVisible());
        QCOMPARE(label(window, u"AutomaticMessage"_qs), u"Se cerrará automáticamente en 0 s"_qs);
        controller->stopMessage(); // closed already: no second line
        QCOMPARE(WindowFixture::log().count(u"deleted index="_qs), 1);
    }

    void timeoutsOfAnySizeFit()
    {
        using Limits = std::numeric_limits<qint64>;
        for (const qint64 timeout : {qint64(0), Limits::min(), Limits::max()}) {
            const QWidget* const window = receive(u"Ann"_qs, u"Hi"_qs, timeout);
            QCOMPARE(!AppDelegate::messageInbox.constLast()->timer.isNull(), timeout > 0);
            const auto* const line = window->findChild<QLabel*>(u"AutomaticMessage"_qs);
            QCOMPARE(!line->text().isEmpty(), timeout > 0);
            QVERIFY(line->geometry().right() < quit(window)->geometry().left());
        }
    }

    void anyTextIsShownPlainlyAndInPlace_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("markup") << u"<img src='x'><a href='y'>&lt;</a>"_qs;
        QTest::newRow("controls") << QString::fromLatin1("a\0\a\x1b[31m\x7f\r\nb", 12);
        QTest::newRow("towers") << (u'A' + QString(1'000, QChar(0x301))).repeated(65);
        QTest::newRow("without blanks") << QString(65'000, QChar(0xac00));
        QTest::newRow("many lines") << QString(65'000, u'\n');
        QTest::newRow("directions") << u"a\u202e\u2067\u05d0"_qs.repeated(16'000);
    }

    void anyTextIsShownPlainlyAndInPlace()
    {
        QFETCH(QString, text);
        const QWidget* const window = receive(text, text, 5, 1);
        QVERIFY(window->screen()->availableGeometry().contains(window->frameGeometry()));
        QVERIFY(window->rect().contains(quit(window)->geometry()));
        const QString shown = message(window)->toPlainText();
        QVERIFY(!shown.contains(QChar(0)) && !shown.contains(QChar(0x202e)));
        QCOMPARE(shown.left(1), text.left(1));
    }

    void severalStandBesideEachOther()
    {
        QList<QPoint> places;
        for (int i = 0; i < 30; ++i) {
            const QWidget* const window = receive(u"Ann"_qs, u"line\n"_qs.repeated(i % 10));
            QVERIFY(window->screen()->availableGeometry().contains(window->frameGeometry()));
            for (const QPoint& place : qAsConst(places)) {
                QVERIFY((window->pos() - place).manhattanLength() >= 32);
            }
            places.append(window->pos());
        }
    }

private:
    static QWidgetList open() { return WindowFixture::windows(u"MessageInbox"_qs); }

    QWidget* receive(const QString& from, const QString& text, qint64 timeout = 0, int kind = 0)
    {
        const QWidgetList before = open();
        AppDelegate::showMessageInbox(from, text, timeout, kind);
        (void)QTest::qWaitFor([&] { return open().size() > before.size(); });
        QWidgetList added = open();
        added.removeIf([&](QWidget* window) { return before.contains(window); });
        (void)QTest::qWaitForWindowActive(added.constFirst());
        m_shown.start();
        return added.constFirst();
    }

    std::unique_ptr<WindowFixture> m_agent;
    QElapsedTimer m_shown;
};

QTEST_MAIN(TestMessageInbox)
#include "tst_messageinbox.moc"

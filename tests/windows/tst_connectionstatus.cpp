#include "AgentFixture.h"
#include "platform/desktop/BundleImages.h"
#include "platform/files/FilePaths.h"
#include "records/Intervals.h"

#include <QLabel>
#include <QScreen>
#include <QTest>

#include <cstring>

using namespace Qt::StringLiterals;

// The connection status window on a real screen, with a real window manager.
class TestConnectionStatus : public AgentTest {
    Q_OBJECT

private:
    static ConnectionStatus& status() { return *AppDelegate::state().connectionStatus; }
    template <typename Widget = QLabel>
    static Widget* find(const char* name)
    {
        return status().findChild<Widget*>(QLatin1StringView(name));
    }
    static QString text(const char* name) { return find(name)->text(); }

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
        // A report takes the keyboard from a button that goes, and from no other.
        find<QWidget>("ChatButton2")->setFocus();
        status().isManaged = false;
        status().config();
        QCOMPARE(status().focusWidget(), find<QWidget>("ChatButton2"));
        status().isManaged = true;
        status().config();
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

    void customLogo()
    {
        const QString path = FilePaths::preferences(u"custom-logo.png"_s);
        QVERIFY(writeFile(path, "no picture"));
        status().present();
        QVERIFY(!find("logo")->pixmap().isNull()); // the bundle's
        QVERIFY(QImage(4000, 1000, QImage::Format_RGB32).save(path));
        status().refresh();
        QCOMPARE(find("logo")->pixmap().toImage().size(), QSize(144, 36));
        QImage stripes(4000, 1000, QImage::Format_Mono); // of two colours, which become one
        std::memset(stripes.bits(), 0xAA, static_cast<std::size_t>(stripes.sizeInBytes()));
        QVERIFY(stripes.save(path));
        status().refresh();
        const int grey = qGray(find("logo")->pixmap().toImage().pixel(72, 18));
        QVERIFY2(grey > 100 && grey < 155, QByteArray::number(grey));
    }

    void aReplacedPictureIsTheSameAtEachScale()
    {
        const QString own = QCoreApplication::applicationDirPath() + u"/Resources/own"_s;
        QImage picture(10, 10, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(own + u".png"_s));
        QImage sharper(99, 99, QImage::Format_RGB32); // of the one that was replaced
        sharper.fill(Qt::blue);
        QVERIFY(sharper.save(own + u"@2x.png"_s));
        const QImage shown = BundleImages::pixmap(u"own"_s, {10, 10}, 2).toImage();
        QCOMPARE(shown.pixelColor(shown.rect().center()), QColor(Qt::red));
    }
};

QTEST_MAIN(TestConnectionStatus)
#include "tst_connectionstatus.moc"

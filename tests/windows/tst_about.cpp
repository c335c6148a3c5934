#include "AgentFixture.h"
#include "platform/files/MainBundle.h"
#include "windows/Bundle+extensions.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAbout : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsTheVersionAndOnlyHides()
    {
        AgentFixture agent;
        QVERIFY(agent.start());
        writeBuild("<integer>412</integer>");
        QVERIFY(!Bundle::buildVersionNumber()); // only a text counts
        writeBuild("<string>412</string>");
        AppDelegate::about();
        QTRY_VERIFY(QApplication::activeWindow() != nullptr);
        QWidget* const window = QApplication::activeWindow();
        QCOMPARE(window->findChild<QLabel*>(u"versionName"_s)->text(), u"Version: 3.1.0"_s);
        QCOMPARE(window->findChild<QLabel*>(u"BuildLabel"_s)->text(), u"Build: 412"_s);
        QTest::mouseClick(window->findChild<QPushButton*>(u"Quit"_s), Qt::LeftButton);
        QVERIFY(!window->isVisible());
        AppDelegate::about();
        QVERIFY(window->isVisible()); // the same
    }

private:
    static void writeBuild(const QByteArray& build)
    {
        QVERIFY(writeFile(MainBundle::path() + u"/Info.plist"_s,
                          "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>a</string>"
                          "<key>CFBundleShortVersionString</key><string>3.1.0</string>"
                          "<key>CFBundleVersion</key>" +
                              build + "</dict></plist>"));
    }
};

QTEST_MAIN(TestAbout)
#include "tst_about.moc"

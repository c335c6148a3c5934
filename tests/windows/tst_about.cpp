#include <QLabel>
#include <QPushButton>

#include "WindowFixture.h"
#include "platform/MainBundle.h"
#include "windows/Bundle+extensions.h"

class TestAbout : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsTheVersionAndOnlyHides()
    {
        writeInfo(u"<string>412</string>"_qs);
        const WindowFixture agent;
        AppDelegate::language = Language::German;
        AppDelegate::about();
        QWidget* const window = WindowFixture::windows(u"AboutController"_qs).constFirst();
        QCOMPARE(window->windowTitle(), u"vantory - Info"_qs);
        for (const auto& [name, text] : {std::pair(u"agentName"_qs, u"vantory Agent"_qs),
                                         std::pair(u"versionName"_qs, u"Version: 3.1.0"_qs),
                                         std::pair(u"BuildLabel"_qs, u"Build: 412"_qs)}) {
            QCOMPARE(window->findChild<QLabel*>(name)->text(), text);
        }
        auto* const quit = window->findChild<QPushButton*>(u"Quit"_qs);
        QCOMPARE(quit->text(), u"Schließen"_qs);
        QTest::mouseClick(quit, Qt::LeftButton);
        QVERIFY(!window->isVisible());
        AppDelegate::about();
        QVERIFY(window->isVisible()); // the same
        QTest::keyClick(window, Qt::Key_Escape);
        QVERIFY(!window->isVisible());
    }

    void onlyATextIsANumber()
    {
        writeInfo(u"<integer>412</integer>"_qs);
        QCOMPARE(Bundle::releaseVersionNumber(), u"3.1.0"_qs);
        QVERIFY(!Bundle::buildVersionNumber());
    }

private:
    static void writeInfo(const QString& build)
    {
        QFile file(MainBundle::path() + u"/Info.plist"_qs);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(u"<plist version=\"1.0\"><dict><key>CFBundleShortVersionString</key>"
                   "<string>3.1.0</string><key>CFBundleVersion</key>%1</dict></plist>"_qs.arg(build)
                       .toUtf8());
    }
};

QTEST_MAIN(TestAbout)
#include "tst_about.moc"

#include "AgentFixture.h"
#include "platform/files/FilePaths.h"
#include "platform/files/MainBundle.h"

#include <QTest>

using namespace Qt::StringLiterals;

// What an installation can choose.
class TestOptions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void options_data()
    {
        QTest::addColumn<QByteArray>("bundled");  // besides the port
        QTest::addColumn<QByteArray>("deployed"); // the whole file
        QTest::addColumn<QString>("after");       // platform, agent type, change; leaving; name
        QTest::addColumn<QString>("error");       // with short names of the files

        const auto list = [](const QByteArray& keys) {
            return "<plist version=\"1.0\"><dict>" + keys + "</dict></plist>";
        };
        const auto row = [](const char* name, const QByteArray& bundled, const QByteArray& deployed,
                            const char* after, const char* error = "") {
            QTest::newRow(name) << bundled << deployed << QString::fromLatin1(after)
                                << QString::fromLatin1(error);
        };
        const QByteArray platform = "<key>show_platform</key><false/>";
        const QByteArray others =
            "<key>show_agent_type</key><false/><key>enable_change</key><false/>";
        const QByteArray leaving = "<key>allow_to_leave_chat</key><true/>";
        const QByteArray acme = "<key>oemName</key><string>Acme</string>";
        row("the chain begins with the platform", others, "", "111 0 KRD");
        row("and breaks at what is no boolean",
            platform + "<key>show_agent_type</key><integer>0</integer>"
                       "<key>enable_change</key><false/>",
            "", "011 0 KRD", "BUNDLED: show_agent_type is not a boolean");
        row("the machine's go first", leaving + platform + acme,
            list("<key>oemName</key><string>Own</string><key>show_platform</key><true/>" + others),
            "100 1 Own");
        row("no port", "", list("<key>port</key><integer>65536</integer>"), "111 0 KRD",
            "DEPLOYED: port is not a port from 1 to 65535");
        row("no property list", leaving, "oemName=Acme", "111 1 KRD",
            "DEPLOYED cannot be read as a property list with a dictionary");
    }

    void options()
    {
        QFETCH(QByteArray, bundled);
        QFETCH(QByteArray, deployed);
        AgentFixture agent;
        agent.options = bundled;
        const QString file = FilePaths::configuration(u"Halvern/vantoryAgent/oem.plist"_s);
        QVERIFY(deployed.isEmpty() || writeFile(file, deployed));
        QVERIFY(agent.start()); // and so with the bundle's port
        const AgentOptions& read = AppDelegate::options;
        QTEST(u"%1%2%3 %4 %5"_s.arg(read.displayPlatform)
                  .arg(read.displayAgentType)
                  .arg(read.displayChange)
                  .arg(read.allowToLeaveChat)
                  .arg(read.oemName),
              "after");
        QString errors = agent.errorLog().filter(u"oem.plist"_s).join(u'\n');
        errors.replace(MainBundle::path() + u"/Resources/oem.plist"_s, u"BUNDLED"_s);
        QTEST(errors.replace(file, u"DEPLOYED"_s), "error");
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"

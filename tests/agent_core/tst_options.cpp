#include "AgentFixture.h"
#include "platform/files/FilePaths.h"

#include <QTest>

using namespace Qt::StringLiterals;

// What an installation can choose.
class TestOptions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void options()
    {
        const QByteArray others =
            "<key>show_agent_type</key><false/><key>enable_change</key><false/>";
        const QByteArray leaving = "<key>allow_to_leave_chat</key><true/>";
        struct Case {
            QByteArray bundled;  // besides the port
            QByteArray deployed; // the whole file
            QString after;       // platform, agent type, change; leaving; name
            QString error;       // behind the name of the file
        };
        const Case cases[] = {
            // The chain begins with the platform, and breaks at what is no boolean.
            {others, "", u"111 0 KRD"_s, {}},
            {"<key>show_platform</key><false/><key>show_agent_type</key><integer>0</integer>"
             "<key>enable_change</key><false/>",
             "", u"011 0 KRD"_s, u": show_agent_type is not a boolean"_s},
            // The machine's own go first.
            {leaving + "<key>show_platform</key><false/><key>oemName</key><string>Acme</string>",
             "<plist version=\"1.0\"><dict><key>oemName</key><string>Own</string>"
             "<key>show_platform</key><true/><key>port</key><integer>65536</integer></dict></"
             "plist>",
             u"111 1 Own"_s, u": port is not a port from 1 to 65535"_s},
            {leaving, "oemName=Acme", u"111 1 KRD"_s,
             u" cannot be read as a property list with a dictionary"_s},
        };
        for (const auto& [bundled, deployed, after, error] : cases) {
            AgentFixture agent;
            agent.options = bundled;
            const QString file = FilePaths::configuration(u"Halvern/vantoryAgent/oem.plist"_s);
            QVERIFY(deployed.isEmpty() || writeFile(file, deployed));
            QVERIFY(agent.start()); // and so with the bundle's port
            const AgentOptions& read = AppDelegate::options;
            QCOMPARE(u"%1%2%3 %4 %5"_s.arg(read.displayPlatform)
                         .arg(read.displayAgentType)
                         .arg(read.displayChange)
                         .arg(read.allowToLeaveChat)
                         .arg(read.oemName),
                     after);
            const QString errors = agent.log("stderr").filter(u"oem.plist"_s).join(u'\n');
            QCOMPARE(errors.section(u"oem.plist"_s, 1), error);
        }
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"

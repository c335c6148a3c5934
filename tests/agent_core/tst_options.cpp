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
        struct Case {
            QByteArray bundled;  // besides the port
            QByteArray deployed; // the whole file
            QString after;       // platform, agent type, change; leaving; name
            QString error;       // behind the name of the file
        };
        const Case cases[] = {
            // The chain begins with the platform, and breaks at what is no boolean.
            {"<key>show_agent_type</key><false/><key>enable_change</key><false/>", "oemName=Acme",
             u"1110KRD"_s, u" cannot be read as a property list with a dictionary"_s},
            {"<key>show_platform</key><false/><key>show_agent_type</key><integer>0</integer>"
             "<key>enable_change</key><false/>",
             "", u"0110KRD"_s, u": show_agent_type is not a boolean"_s},
            // The machine's own go first.
            {"<key>allow_to_leave_chat</key><true/><key>show_platform</key><false/>",
             "<plist version=\"1.0\"><dict><key>oemName</key><string>Own</string>"
             "<key>show_platform</key><true/><key>port</key><integer>65536</integer></dict></"
             "plist>",
             u"1111Own"_s, u": port is not a port from 1 to 65535"_s},
        };
        for (const auto& [bundled, deployed, after, error] : cases) {
            AgentFixture agent;
            agent.options = bundled;
            QVERIFY(
                deployed.isEmpty() ||
                writeFile(FilePaths::configuration(u"Halvern/vantoryAgent/oem.plist"_s), deployed));
            QVERIFY(agent.start()); // and so with the bundle's port
            const AgentOptions& read = AppDelegate::options;
            QString flags;
            for (const bool flag : {read.displayPlatform, read.displayAgentType, read.displayChange,
                                    read.allowToLeaveChat}) {
                flags += flag ? u'1' : u'0';
            }
            QCOMPARE(flags + read.oemName, after);
            const QString errors = agent.log("stderr").filter(u"oem.plist"_s).join(u'\n');
            QCOMPARE(errors.section(u"oem.plist"_s, 1), error);
        }
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"

#include "AgentFixture.h"
#include "platform/files/FilePaths.h"

#include <QTest>

#include <tuple>

using namespace Qt::StringLiterals;

// What an installation can choose.
class TestOptions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void options()
    {
        // Of the bundle besides the port, the machine's whole file; platform, agent type, change,
        // leaving and name afterwards; errors.
        using Case = std::tuple<QByteArray, QByteArray, QString, QStringList>;
        for (
            const auto& [bundled, deployed, after, errors] :
            {// The chain begins with the platform, and breaks at what is no boolean.
             Case{"<key>show_platform</key><false/><key>show_agent_type</key><integer>0</integer>"
                  "<key>enable_change</key><false/>",
                  "oemName=Acme",
                  u"0110KRD"_s,
                  {u"etc/opt/Halvern/vantoryAgent/oem.plist cannot be read"_s,
                   u"Resources/oem.plist: show_agent_type is not a boolean"_s}},
             // The machine's own go first.
             {"<key>allow_to_leave_chat</key><true/><key>show_platform</key><false/>",
              R"(<plist version="1.0"><dict><key>oemName</key><string>Own</string>)"
              R"(<key>show_platform</key><true/><key>port</key><integer>65536</integer></dict></plist>)",
              u"1111Own"_s,
              {u"oem.plist: port is not a port from 1 to 65535"_s}}}) {
            AgentFixture agent;
            agent.options = bundled;
            writeFile(FilePaths::configuration(u"Halvern/vantoryAgent/oem.plist"_s), deployed);
            QVERIFY(agent.start()); // and so with the bundle's port
            const AgentOptions& read = AppDelegate::options;
            QCOMPARE(u"%1%2%3%4%5"_s.arg(read.displayPlatform)
                         .arg(read.displayAgentType)
                         .arg(read.displayChange)
                         .arg(read.allowToLeaveChat)
                         .arg(read.oemName),
                     after);
            for (const QString& error : errors) {
                QCOMPARE(agent.log("stderr").filter(error).size(), 1);
            }
        }
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"

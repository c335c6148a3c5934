#include "AgentFixture.h"
#include "agent_core/StatusBarRules.h"
#include "settings/PortArgument.h"

#include <QTest>

using namespace Qt::StringLiterals;

// What an installation and a command line can choose.
class TestOptions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void bundleOptions_data()
    {
        QTest::addColumn<QByteArray>("options"); // besides the port
        QTest::addColumn<QString>("after");      // platform, agent type, change; leaving; name

        const QByteArray platform = "<key>show_platform</key><false/>";
        const QByteArray others =
            "<key>show_agent_type</key><false/><key>enable_change</key><false/>";
        QTest::newRow("none") << QByteArray() << "111 0 KRD";
        QTest::newRow("all three") << platform + others << "000 0 KRD";
        QTest::newRow("the chain begins with the platform") << others << "111 0 KRD";
        QTest::newRow("and breaks at what is no boolean")
            << platform + "<key>show_agent_type</key><integer>0</integer>" +
                   "<key>enable_change</key><false/>"
            << "011 0 KRD";
        QTest::newRow("of another type")
            << QByteArray("<key>allow_to_leave_chat</key><string>true</string>"
                          "<key>oemName</key><true/>")
            << "111 0 KRD";
        QTest::newRow("others") << QByteArray("<key>allow_to_leave_chat</key><true/>"
                                              "<key>oemName</key><string>Acme</string>")
                                << "111 1 Acme";
    }

    void bundleOptions()
    {
        QFETCH(QByteArray, options);
        AgentFixture agent;
        agent.options = options;
        QVERIFY(agent.start());
        const AgentOptions& read = AppDelegate::options;
        QTEST(u"%1%2%3 %4 %5"_s.arg(read.displayPlatform)
                  .arg(read.displayAgentType)
                  .arg(read.displayChange)
                  .arg(read.allowToLeaveChat)
                  .arg(read.oemName),
              "after");
    }

    void ports_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("port"); // -1: as it was

        QTest::newRow("none") << QStringList{u"agent"_s, u"6000"_s} << -1;
        QTest::newRow("one") << QStringList{u"port=6000"_s} << 6000;
        QTest::newRow("the last decides") << QStringList{u"port=6000"_s, u"port=6001"_s} << 6001;
        for (const char* const bad : {"abc", "", "70000", "-1", "6000x", " 6000"}) {
            QTest::newRow(bad) << QStringList{u"port=6000"_s, u"port="_s + QLatin1StringView(bad)}
                               << -1;
        }
    }

    void ports()
    {
        QFETCH(QStringList, arguments);
        const auto port = PortArgument::of(arguments).port;
        QTEST(port ? int(*port) : -1, "port");
    }

    void notLinkedWinsOverInSession()
    {
        QCOMPARE(StatusBarRules::iconName(true, false, true), u"appIcon-22-disconnected"_s);
        QCOMPARE(StatusBarRules::iconName(false, false, true), u"appIcon-22-session"_s);
    }
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"

#include "SettingsDriver.h"
#include "platform/files/FilePaths.h"
#include "settings/SettingsFile.h"
#include "windows/SecurityAccess.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>

using namespace Qt::StringLiterals;

using namespace SettingsDriver;

namespace {

const QString kId = u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s;

bool storeSettings()
{
    return writeFile(backendSettingsPath(),
                     settingsPropertyList({true, u"000123"_s, kId, u"testing"_s}).toUtf8());
}

bool isLeft()
{
    return !window()->isVisible() && !code()->isEnabled();
}

} // namespace

// The settings window without an administrator at hand: everything but the check and the writing.
class TestSettingsWindow : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    void opensLockedWithWhatIsStoredAndWritesNothingUnchanged()
    {
        AppDelegate::options.displayChange = false;
        const auto hasLock = [] { return find<QPushButton>(window(), "lockButton")->isVisible(); };
        QVERIFY(open(*m_agent) && hasLock()); // a first time
        m_agent->delegate->cancelAction();
        QVERIFY(storeSettings() && open(*m_agent) && !hasLock());
        const auto* const managed = find<QCheckBox>(window(), "managed");
        QVERIFY(AppDelegate::state().isManaged && managed->isChecked() && !managed->isEnabled());
        QCOMPARE(find<QLineEdit>(window(), "accountIdText")->text(), kId);
        QCOMPARE(find<QComboBox>(window(), "platformSelect")->currentText(), u"testing"_s);
        m_agent->delegate->applyAction(); // nothing may come this way
        QVERIFY(window()->isVisible());
        const QString logo = FilePaths::preferences(u"custom-logo.png"_s);
        QVERIFY(writeFile(logo, "logo"));
        m_agent->delegate->enableSettings();
        (void)m_agent->takeSent();
        click(window(), "applyButton");
        QVERIFY(isLeft() && QFileInfo::exists(logo));
        QCOMPARE(m_agent->takeSent(), QByteArrayList());
        QVERIFY(open(*m_agent)); // there is nothing to wait for
    }

    void lockAsksAndLeavingLocks()
    {
        QVERIFY(open(*m_agent));
        click(window(), "lockButton");
        QVERIFY(QTest::qWaitForWindowActive(question()));
        typeCredentials({}, u"secret"_s);
        click(window(), "cancelButton"); // takes the question along
        QVERIFY(isLeft() && !question()->isVisible());
        QVERIFY(find<QLineEdit>(question(), "password")->text().isEmpty());
        QVERIFY(open(*m_agent));
        m_agent->delegate->enableSettings(); // all fields, until the mode is chosen anew
        QVERIFY(find<QLineEdit>(window(), "accountIdText")->isEnabled());
        QTest::keyClick(code(), Qt::Key_Escape);
        QVERIFY(isLeft());
    }

    void opensByItselfOnlyUnconfiguredAndDeaf()
    {
        AppDelegate::options.displayAgentType = false;
        m_agent->delegate->waitingSettings();
        QVERIFY(QTest::qWaitForWindowExposed(window()));
        QVERIFY(!find<QCheckBox>(window(), "managed")->isVisible() && !code()->isEnabled());
        QTest::keyClick(find<QPushButton>(window(), "lockButton"), Qt::Key_Space);
        QTest::keyClick(find<QPushButton>(window(), "lockButton"), Qt::Key_Escape);
        QVERIFY(window()->isVisible() && question() == nullptr);
        m_agent->delegate->enableSettings();
        m_agent->delegate->waitingSettings(); // a visible window is left alone
        QVERIFY(code()->isEnabled());
        m_agent->delegate->cancelAction();
        QVERIFY(storeSettings());
        m_agent->delegate->waitingSettings();
        QVERIFY(!window()->isVisible());
    }

    // The machine's own go first. The chain of what is shown begins with the platform, and breaks
    // at what is no boolean.
    void whatAnInstallationCanChoose()
    {
        m_agent.reset();
        m_agent = std::make_unique<AgentFixture>();
        m_agent->options = "<key>show_platform</key><false/><key>show_agent_type</key><integer>0"
                           "</integer><key>enable_change</key><false/><key>oemName</key><string>"
                           "Acme</string><key>allow_to_leave_chat</key><true/>";
        writeFile(FilePaths::configuration(u"Halvern/vantoryAgent/oem.plist"_s),
                  R"(<plist version="1.0"><dict><key>oemName</key><string>Own</string>)"
                  R"(<key>port</key><integer>65536</integer></dict></plist>)");
        QVERIFY(m_agent->start()); // and so with the bundle's port
        const AgentOptions& read = AppDelegate::options;
        QVERIFY(!read.displayPlatform && read.displayAgentType && read.displayChange);
        QVERIFY(read.allowToLeaveChat && read.oemName == u"Own");
        for (const QString& error : {u"Resources/oem.plist: show_agent_type is not a boolean"_s,
                                     u"oem.plist: port is not a port from 1 to 65535"_s}) {
            QCOMPARE(m_agent->log("stderr").filter(error).size(), 1);
        }
    }
};

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"

#include "SettingsDriver.h"
#include "settings/SettingsFile.h"
#include "windows/SecurityAccess.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QMessageBox>

#include <functional>

using namespace Qt::StringLiterals;

using namespace SettingsDriver;

namespace {

const QString kId = u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s;

QMessageBox* alert()
{
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

QCheckBox* managed()
{
    return find<QCheckBox>(window(), "managed");
}

QLineEdit* account()
{
    return find<QLineEdit>(window(), "accountIdText");
}

bool storeSettings()
{
    return writeFile(backendSettingsPath(),
                     "<plist version=1.0><dict><key>managed</key><true/><key>sessionCode</key>"
                     "<string>000123</string><key>accountID</key><string>" +
                         kId.toUtf8() +
                         "</string><key>platform</key><string>testing</string></dict></plist>");
}

} // namespace

// The settings window without an administrator at hand: everything but the check and the writing.
class TestSettingsWindow : public AgentTest {
    Q_OBJECT

private Q_SLOTS:
    void opensLockedWithWhatIsStored()
    {
        QVERIFY(storeSettings() && open(*m_agent));
        for (const QWidget* const widget : std::initializer_list<QWidget*>{
                 managed(), account(), button(window(), "applyButton")}) {
            QVERIFY2(!widget->isEnabled(), qPrintable(widget->objectName()));
        }
        QCOMPARE(button(window(), "lockButton")->accessibleName(), u"Unlock"_s);
        QVERIFY(AppDelegate::state().isManaged && managed()->isChecked());
        QCOMPARE(account()->text(), kId);
        QCOMPARE(find<QComboBox>(window(), "platformSelect")->currentText(), u"testing"_s);
        m_agent->delegate->applyAction(); // nothing may come this way
        QVERIFY(window()->isVisible());
    }

    void modesHideWhatTheyDoNotNeed()
    {
        QVERIFY(open(*m_agent));
        m_agent->delegate->enableSettings();
        QVERIFY(code()->hasFocus() && !account()->isEnabled());
        const QSize size = window()->size();
        QTest::mouseClick(managed(), Qt::LeftButton, {}, QPoint(8, 8));
        QVERIFY(!code()->isVisible() && account()->isEnabled());
        QTest::mouseClick(managed(), Qt::LeftButton, {}, QPoint(8, 8));
        QVERIFY(code()->isVisible() && code()->isEnabled() && !account()->isEnabled());
        QCOMPARE(window()->size(), size); // nothing jumps
    }

    void displayOptions_data()
    {
        QTest::addColumn<bool>("isConfigured");
        QTest::addColumn<bool>("mayChange");
        QTest::addColumn<bool>("showsLock");
        QTest::newRow("fresh and fixed: a first time is granted") << false << false << true;
        QTest::newRow("configured") << true << true << true;
        QTest::newRow("configured and fixed") << true << false << false;
    }
    void displayOptions()
    {
        QFETCH(bool, isConfigured);
        QFETCH(bool, mayChange);
        QVERIFY(!isConfigured || storeSettings());
        AppDelegate::options.displayChange = mayChange;
        AppDelegate::options.displayAgentType = isConfigured;
        QVERIFY(open(*m_agent));
        QTEST(button(window(), "lockButton")->isVisible(), "showsLock");
        QCOMPARE(managed()->isVisible(), isConfigured);
    }

    void refusedEntries()
    {
        QVERIFY(open(*m_agent));
        m_agent->delegate->enableSettings();
        m_agent->forget();
        for (const bool isManaged : {false, true}) {
            managed()->setChecked(isManaged);
            QLineEdit* const field = isManaged ? account() : code();
            field->setText(u"<b>456\n"_s);
            click(window(), "applyButton");
            QTRY_VERIFY(alert() != nullptr);
            QCOMPARE(alert()->text(), isManaged ? u"Account Identifier is incorrect"_s
                                                : u"Session code is incorrect"_s);
            QTest::mouseClick(alert()->buttons().constFirst(), Qt::LeftButton);
            QTRY_VERIFY(alert() == nullptr);
            QVERIFY(window()->isVisible() && field->isEnabled());
            QCOMPARE(field->text(), u"<b>456\n"_s); // to be mended
        }
        QVERIFY(m_agent->sent().isEmpty() && !QFileInfo::exists(backendSettingsPath()));
    }

    void nothingChangedWritesNothing()
    {
        const QString logo = m_agent->preferences(u"custom-logo.png"_s);
        QVERIFY(storeSettings() && writeFile(logo, "logo") && open(*m_agent));
        m_agent->delegate->enableSettings();
        m_agent->forget();
        click(window(), "applyButton");
        QVERIFY(!window()->isVisible() && !code()->isEnabled());
        QCOMPARE(m_agent->takeSent(), QByteArrayList());
        QVERIFY(QFileInfo::exists(logo));
        QVERIFY(open(*m_agent)); // there is nothing to wait for
    }

    void leavingLocksAgain()
    {
        const std::function<void()> ways[] = {
            [] { click(window(), "cancelButton"); },
            [] { QTest::keyClick(code(), Qt::Key_Escape); },
            [] { window()->close(); }, // as the title bar does
        };
        for (const auto& leave : ways) {
            QVERIFY(open(*m_agent));
            m_agent->delegate->enableSettings();
            QTRY_VERIFY((leave(), !window()->isVisible()));
            QVERIFY(!code()->isEnabled());
        }
    }

    void lockAsksAndLocks()
    {
        QVERIFY(open(*m_agent));
        click(window(), "lockButton");
        QVERIFY(QTest::qWaitForWindowActive(question()));
        auto* const password = find<QLineEdit>(question(), "password");
        QCOMPARE(password->echoMode(), QLineEdit::Password);
        typeCredentials({}, u"secret"_s);
        QTest::keyClick(password, Qt::Key_Escape);
        QVERIFY(!question()->isVisible() && password->text().isEmpty() && window()->isVisible());

        m_agent->delegate->enableSettings();
        click(window(), "lockButton");
        QVERIFY(!code()->isEnabled() && !question()->isVisible());
        // Closing the settings takes the question along.
        click(window(), "lockButton");
        QVERIFY(question()->isVisible());
        click(window(), "cancelButton");
        QVERIFY(!question()->isVisible());
    }

    void opensByItselfOnlyUnconfiguredAndDeaf()
    {
        AppDelegate::options.displayAgentType = false;
        m_agent->delegate->waitingSettings();
        QVERIFY(QTest::qWaitForWindowActive(window()));
        QVERIFY(!managed()->isVisible() && !code()->isEnabled());
        auto* const lock = button(window(), "lockButton");
        QTest::keyClick(lock, Qt::Key_Space);
        QTest::keyClick(lock, Qt::Key_Escape);
        QVERIFY(window()->isVisible() && question() == nullptr);
        m_agent->delegate->enableSettings();
        m_agent->delegate->waitingSettings(); // a visible window is left alone
        QVERIFY(code()->isEnabled());
        m_agent->delegate->cancelAction();
        QVERIFY(storeSettings());
        m_agent->delegate->waitingSettings();
        QVERIFY(!window()->isVisible());
    }
};

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"

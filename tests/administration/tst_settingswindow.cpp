#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QTimer>

#include "SettingsDriver.h"
#include "agent_core/BackendSettings.h"
#include "windows/SecurityAccess.h"

using namespace SettingsDriver;

namespace {

const QString kId = QStringLiteral("3f2504e0-4f89-41d3-9a0c-0305e82c3301");

QMessageBox* alert()
{
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

QCheckBox* managed()
{
    return find<QCheckBox>(window(), "managed");
}

QComboBox* region()
{
    return find<QComboBox>(window(), "platformSelect");
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
class TestSettingsWindow : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_agent.reset(); }

    void opensLocked();
    void showsWhatIsStored();
    void modesHideWhatTheyDoNotNeed();
    void displayOptions_data();
    void displayOptions();
    void refusedEntries_data();
    void refusedEntries();
    void nothingChangedWritesNothing();
    void cancelLocksAgain();
    void lockAsksAndLocks();
    void opensByItself();
    void strayKeysPressNothing();
    void fitsInAllLanguages();

private:
    std::unique_ptr<AgentFixture> m_agent;
};

void TestSettingsWindow::init()
{
    m_agent = std::make_unique<AgentFixture>();
    QVERIFY(m_agent->start());
    QVERIFY(window() == nullptr); // nothing is built before somebody sees it
}

void TestSettingsWindow::opensLocked()
{
    QVERIFY(open(*m_agent));
    for (const QWidget* const widget : std::initializer_list<QWidget*>{
             managed(), region(), account(), button(window(), "applyButton"),
             find<QLabel>(window(), "regionDesc")}) {
        QVERIFY2(!widget->isEnabled(), qPrintable(widget->objectName()));
    }
    QCOMPARE(button(window(), "lockButton")->toolTip(), QStringLiteral("Unlock"));
    QCOMPARE(button(window(), "lockButton")->accessibleName(), QStringLiteral("Unlock"));
}

void TestSettingsWindow::showsWhatIsStored()
{
    QVERIFY(storeSettings());
    AppDelegate::isManaged = false;
    QVERIFY(open(*m_agent));
    QVERIFY(AppDelegate::isManaged && managed()->isChecked());
    QCOMPARE(account()->text(), kId);
    QCOMPARE(region()->currentText(), QStringLiteral("testing"));

    // A file that went takes account and region with it, but not the code and the mode.
    m_agent->delegate->cancelAction();
    QVERIFY(QFile::remove(backendSettingsPath()));
    QVERIFY(open(*m_agent));
    QVERIFY(managed()->isChecked());
    QCOMPARE(account()->text(), QString());
    QCOMPARE(code()->text(), QStringLiteral("000123"));
    QCOMPARE(region()->currentIndex(), 0);
}

void TestSettingsWindow::modesHideWhatTheyDoNotNeed()
{
    QVERIFY(open(*m_agent));
    m_agent->delegate->enableSettings();
    const auto* const apply = button(window(), "applyButton");
    QCOMPARE(button(window(), "lockButton")->toolTip(), QStringLiteral("Lock"));
    QVERIFY(code()->hasFocus() && code()->isEnabled() && account()->isEnabled());
    const QSize size = window()->size();

    QTest::mouseClick(managed(), Qt::LeftButton, {}, QPoint(8, 8));
    QVERIFY(!code()->isVisible() && !find<QLabel>(window(), "sessionCodeDesc")->isVisible());
    QVERIFY(account()->isEnabled());
    QCOMPARE(apply->text(), QStringLiteral("Apply"));
    QTest::mouseClick(managed(), Qt::LeftButton, {}, QPoint(8, 8));
    QVERIFY(code()->isVisible() && code()->isEnabled() && !account()->isEnabled());
    QCOMPARE(apply->text(), QStringLiteral("Start"));
    QTest::qWait(50);
    QCOMPARE(window()->size(), size); // nothing jumps
}

void TestSettingsWindow::displayOptions_data()
{
    QTest::addColumn<bool>("isConfigured");
    QTest::addColumn<bool>("mayChange");
    QTest::addColumn<bool>("showsLock");
    QTest::newRow("fresh") << false << true << true;
    QTest::newRow("fresh and fixed: a first time is granted") << false << false << true;
    QTest::newRow("configured") << true << true << true;
    QTest::newRow("configured and fixed") << true << false << false;
}

void TestSettingsWindow::displayOptions()
{
    QFETCH(bool, isConfigured);
    QVERIFY(!isConfigured || storeSettings());
    QFETCH(bool, mayChange);
    AppDelegate::displayChange = mayChange;
    AppDelegate::displayAgentType = isConfigured;
    AppDelegate::displayPlatform = !isConfigured;
    QVERIFY(open(*m_agent));
    QTEST(button(window(), "lockButton")->isVisible(), "showsLock");
    QCOMPARE(managed()->isVisible(), isConfigured);
    QCOMPARE(region()->isVisible(), !isConfigured);
    QCOMPARE(find<QLabel>(window(), "regionDesc")->isVisible(), !isConfigured);
}

void TestSettingsWindow::refusedEntries_data()
{
    QTest::addColumn<bool>("isManaged");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("message");
    QTest::newRow("pasted with a line break") << false << "123456\n"
                                              << "Session code is incorrect"
                                              << "Session code must be a number of 6 digits.";
    QTest::newRow("no account") << true << "<b>"
                                << "Account Identifier is incorrect"
                                << "Account Identifier must be an UUID.";
}

void TestSettingsWindow::refusedEntries()
{
    QFETCH(QString, entry);
    QFETCH(bool, isManaged);
    QVERIFY(open(*m_agent));
    m_agent->delegate->enableSettings();
    managed()->setChecked(isManaged);
    QLineEdit* const field = isManaged ? account() : code();
    field->setFocus();
    field->setText(entry);
    m_agent->forget();
    QTest::keyClick(field, Qt::Key_Return);

    QTRY_VERIFY(alert() != nullptr);
    QTEST(alert()->text(), "title");
    QTEST(alert()->informativeText(), "message");
    QCOMPARE(alert()->buttons().size(), 1);
    QCOMPARE(alert()->parentWidget(), window());
    QTest::mouseClick(alert()->buttons().constFirst(), Qt::LeftButton);
    QTRY_VERIFY(alert() == nullptr);
    QVERIFY(window()->isVisible() && field->isEnabled());
    QCOMPARE(field->text(), entry); // to be mended
    QVERIFY(m_agent->sent().isEmpty() && !QFileInfo::exists(backendSettingsPath()));
}

void TestSettingsWindow::nothingChangedWritesNothing()
{
    QVERIFY(storeSettings());
    const QString logo = m_agent->preferences(QStringLiteral("custom-logo.png"));
    QVERIFY(writeFile(logo, "logo"));
    QVERIFY(open(*m_agent));
    m_agent->delegate->enableSettings();
    m_agent->forget();
    click(window(), "applyButton");
    QVERIFY(!window()->isVisible() && !code()->isEnabled());
    QTest::qWait(100);
    QVERIFY(m_agent->sent().isEmpty() && QFileInfo::exists(logo));
    QVERIFY(open(*m_agent)); // there is nothing to wait for
}

void TestSettingsWindow::cancelLocksAgain()
{
    const std::function<void()> ways[] = {
        [] { click(window(), "cancelButton"); }, [] { QTest::keyClick(code(), Qt::Key_Escape); },
        [] { window()->close(); }, // as the title bar does
    };
    for (const auto& way : ways) {
        QVERIFY(open(*m_agent));
        m_agent->delegate->enableSettings();
        way();
        QVERIFY(!window()->isVisible() && !code()->isEnabled());
    }
}

void TestSettingsWindow::lockAsksAndLocks()
{
    QVERIFY(open(*m_agent));
    click(window(), "lockButton");
    QVERIFY(QTest::qWaitForWindowActive(question()));
    auto* const name = find<QLineEdit>(question(), "username");
    auto* const password = find<QLineEdit>(question(), "password");
    QTRY_VERIFY(name->hasFocus());
    QCOMPARE(password->echoMode(), QLineEdit::Password);
    typeCredentials(QStringLiteral("-c"), QStringLiteral("secret"));
    QTest::keyClick(password, Qt::Key_Return);
    QVERIFY(password->text().isEmpty() && !button(question(), "applyButton")->isEnabled());
    QTRY_VERIFY(button(question(), "applyButton")->isEnabled());
    QVERIFY(!AppDelegate::access->status && question()->isVisible() && !code()->isEnabled());
    QVERIFY(name->text().isEmpty() && AppDelegate::user.isEmpty() && AppDelegate::pwd.isEmpty());

    typeCredentials({}, QStringLiteral("secret"));
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

void TestSettingsWindow::opensByItself()
{
    AppDelegate::displayPlatform = false;
    m_agent->delegate->waitingSettings();
    QVERIFY(QTest::qWaitForWindowActive(window()));
    QVERIFY(!region()->isVisible() && !code()->isEnabled() && AppDelegate::settingsShowTimer);

    m_agent->delegate->enableSettings();
    m_agent->delegate->waitingSettings(); // a visible window is left alone
    QVERIFY(code()->isEnabled());
    m_agent->delegate->cancelAction();
    QVERIFY(storeSettings());
    m_agent->delegate->waitingSettings();
    QVERIFY(!window()->isVisible());
    QTRY_VERIFY(!AppDelegate::settingsShowTimer);
}

void TestSettingsWindow::strayKeysPressNothing()
{
    m_agent->delegate->waitingSettings();
    QVERIFY(QTest::qWaitForWindowActive(window()));
    auto* const lock = button(window(), "lockButton");
    QTest::keyClick(lock, Qt::Key_Space);
    QTest::keyClick(lock, Qt::Key_Escape);
    QVERIFY(lock->hasFocus() && window()->isVisible() && question() == nullptr);
    QTest::qWait(650);
    QTest::keyClick(lock, Qt::Key_Space);
    QVERIFY(question() != nullptr);
}

void TestSettingsWindow::fitsInAllLanguages()
{
    const auto labels = getLanguageLabel();
    QVERIFY(labels);
    for (int language = 0; language <= static_cast<int>(Language::Portuguese); ++language) {
        cleanup();
        init();
        AppDelegate::language = static_cast<Language>(language);
        m_agent->delegate->setUI();
        QVERIFY(open(*m_agent));
        QCOMPARE(managed()->text(), labels->info(AppDelegate::language).Settings.managed);
        account()->setText(kId.toUpper());
        QVERIFY(account()->fontMetrics().horizontalAdvance(account()->text()) + 8 <
                account()->width());
        const QList<QWidget*> widgets = window()->findChildren<QWidget*>();
        for (const QWidget* const widget : widgets) {
            QVERIFY2(!widget->isVisible() || widget->width() >= widget->minimumSizeHint().width(),
                     qPrintable(widget->objectName()));
        }
    }
    AppDelegate::language = Language::English;
}

QTEST_MAIN(TestSettingsWindow)
#include "tst_settingswindow.moc"

#include "SettingsDriver.h"
#include "agent_core/PrivilegedSettings.h"
#include "platform/files/FilePaths.h"
#include "records/Intervals.h"
#include "settings/SettingsFile.h"
#include "windows/SecurityAccess.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

using namespace SettingsDriver;

namespace {

// The accounts that with_administrator has made; the test runs as the first.
Credentials account(const char* who)
{
    const QByteArray variable = QByteArray("VANTORY_TEST_") + who;
    return {qEnvironmentVariable(variable), qEnvironmentVariable(variable + "_PASSWORD")};
}

// As the administrator does it in a terminal.
bool asRoot(const QString& command, const QString& path)
{
    QProcess process;
    process.start(u"sudo"_s, QStringList{u"-S"_s} + command.split(u' ') + QStringList{path});
    process.write(account("ADMINISTRATOR").password.toUtf8() + '\n');
    process.closeWriteChannel();
    return process.waitForFinished() && process.exitCode() == 0;
}

QByteArray stored()
{
    QFile file(backendSettingsPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
}

} // namespace

// The real thing: an agent that runs as a member of group sudo, real PAM, su and sudo, a file that
// root owns. See with_administrator.
class TestAdministration : public QObject {
    Q_OBJECT

private:
    void unlock(const Credentials& credentials)
    {
        click(window(), "lockButton");
        typeCredentials(credentials.user, credentials.password);
        click(question(), "applyButton");
        QTRY_VERIFY(code()->isEnabled());
        QVERIFY(!question()->isVisible() && AppDelegate::state().access->status);
    }

    void apply(const QString& sessionCode)
    {
        code()->setText(sessionCode);
        (void)m_agent->takeSent();
        click(window(), "applyButton");
        window()->close(); // can't be had now
        const bool isBusy = window()->isVisible() && !window()->isEnabled();
        const bool isClosed = QTest::qWaitFor([] { return !window()->isVisible(); }, 60'000);
        QVERIFY(isBusy && isClosed && !code()->isEnabled());
        QTRY_COMPARE(m_agent->sent().count("#####request=restart"), 1);
    }

    std::unique_ptr<AgentFixture> m_agent;
    QString m_directory;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(!account("ADMINISTRATOR").user.isEmpty(), "to be started by with_administrator");
        ::umask(077);
    }

    // The preferences directory as the package sets it up.
    void init()
    {
        m_agent = std::make_unique<AgentFixture>();
        Intervals::current().restartRequest = std::chrono::milliseconds(500);
        m_directory = QFileInfo(backendSettingsPath()).path();
        QVERIFY(asRoot(u"install -d -o root -g sudo -m 2775"_s, m_directory));
        QVERIFY(m_agent->start());
    }
    void cleanup() { m_agent.reset(); }

    void checksPasswords()
    {
        const auto& [name, password] = account("ADMINISTRATOR");
        const auto& [otherName, otherPassword] = account("OTHER");
        for (const Credentials& who : {account("ADMINISTRATOR"), account("OTHER")}) {
            QVERIFY(authenticateLocalAdminUser(who.user, who.password, false));
            // Whether it is an administrator counts only if asked for.
            QCOMPARE(authenticateLocalAdminUser(who.user, who.password, true), who.user == name);
        }
        for (const Credentials& who : {Credentials{name, otherPassword},
                                       {otherName, otherPassword + u'\n'},
                                       {name, password + QChar(u'\0')}}) {
            QVERIFY2(!authenticateLocalAdminUser(who.user, who.password, false),
                     qPrintable(who.user));
        }
    }

    void enrolsTwiceWithOneQuestion()
    {
        QVERIFY(writeFile(backendSettingsPath(), "of old") &&
                asRoot(u"chown root"_s, backendSettingsPath()));
        for (const char* const name : {"custom-logo.png", ".hidden", "folder/inside"}) {
            QVERIFY(writeFile(FilePaths::preferences(QLatin1StringView(name)), "x"));
        }
        QVERIFY(open(*m_agent));
        unlock(account("ADMINISTRATOR"));
        apply(u"999999"_s);
        // Asked for again, it opens when the service has had its time, with what is stored now.
        code()->clear();
        m_agent->delegate->settings();
        QVERIFY(!window()->isVisible());
        QTRY_VERIFY(window()->isVisible());
        QCOMPARE(code()->text(), u"999999"_s);
        m_agent->delegate->enableSettings();
        apply(u"000123"_s);
        const QFileInfo file(backendSettingsPath());
        QVERIFY(file.ownerId() == 0 && file.permission(QFile::ReadOther));
        QByteArray text = settingsPropertyList({false, u"000123"_s, {}, {}}).toUtf8();
        QCOMPARE(stored(), text.replace('"', "") + '\n');
        QCOMPARE(
            QDir(m_directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList(file.fileName()));
        const QStringList lines = m_agent->log() + m_agent->log("stderr");
        QVERIFY(lines.filter(account("ADMINISTRATOR").password).isEmpty());
    }

    void aCancelledCheckUnlocksNothing()
    {
        QVERIFY(open(*m_agent));
        click(window(), "lockButton");
        typeCredentials(account("ADMINISTRATOR").user, account("ADMINISTRATOR").password);
        click(question(), "applyButton");
        click(question(), "cancelButton");
        QVERIFY(!question()->isVisible());
        // A wrong password takes twenty times as long: the first result is there before this one.
        click(window(), "lockButton");
        typeCredentials(account("ADMINISTRATOR").user, u"wrong"_s);
        click(question(), "applyButton");
        QTRY_VERIFY(find<QPushButton>(question(), "applyButton")->isEnabled());
        QVERIFY(!code()->isEnabled() && AppDelegate::state().pwd.isEmpty());
        QTest::keyClick(question(), Qt::Key_Escape);
        unlock(account("ADMINISTRATOR")); // and the next one counts
    }

    // The check passes, and then sudo asks for the password of the user who runs the agent.
    void anotherAccountsNameSavesNothing()
    {
        QVERIFY(writeFile(backendSettingsPath(), "of old") && open(*m_agent));
        unlock(account("OTHER"));
        apply(u"333333"_s);
        QCOMPARE(stored(), QByteArray()); // a file of one's own is emptied
    }
};

QTEST_MAIN(TestAdministration)
#include "tst_administration.moc"

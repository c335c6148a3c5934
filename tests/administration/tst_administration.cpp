#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

#include <sys/stat.h>
#include <unistd.h>

#include "SettingsDriver.h"
#include "agent_core/BackendSettings.h"
#include "agent_core/Intervals.h"
#include "agent_core/SettingsRules.h"
#include "windows/SecurityAccess.h"

using namespace SettingsDriver;

namespace {

constexpr int kPatience = 20'000;

// The accounts that with_administrator has made; the test runs as the first.
Credentials person(const char* who)
{
    const QByteArray variable = QByteArray("VANTORY_TEST_") + who;
    return {qEnvironmentVariable(variable), qEnvironmentVariable(variable + "_PASSWORD")};
}

// As the administrator does it in a terminal.
bool asRoot(const QString& program, const QString& argument, const QString& path)
{
    QProcess process;
    process.start(QStringLiteral("sudo"), {QStringLiteral("-S"), program, argument, path});
    process.write(person("ADMINISTRATOR").password.toUtf8() + '\n');
    process.closeWriteChannel();
    return process.waitForFinished() && process.exitCode() == 0;
}

bool giveToRoot(const QString& path)
{
    return asRoot(QStringLiteral("chown"), QStringLiteral("root"), path);
}

QByteArray stored()
{
    QFile file(backendSettingsPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
}

struct stat fileStatus(const QString& path)
{
    struct stat status = {};
    ::stat(QFile::encodeName(path), &status);
    return status;
}

// Watches that the main thread comes round while something else takes its time.
class Pulse {
public:
    Pulse()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer,
                         [this] { m_longestGap = std::max(m_longestGap, m_clock.restart()); });
        m_clock.start();
        m_timer.start(10);
    }
    [[nodiscard]] bool isSteady() const { return m_longestGap > 0 && m_longestGap < 500; }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_longestGap = 0;
};

} // namespace

// The real thing: an agent that runs as a member of group sudo, real PAM, su and sudo, a file that
// root owns. See with_administrator.
class TestAdministration : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup() { m_agent.reset(); }

    void checksPasswords_data();
    void checksPasswords();
    void wrongPasswordLeavesAllAsItWas();
    void enrols();
    void savesTwiceWithOneQuestion();
    void aCancelledCheckUnlocksNothing();
    void anotherAccountsNameSavesNothing_data();
    void anotherAccountsNameSavesNothing();
    void withoutADirectory();

private:
    void unlock(const Credentials& credentials);
    void apply(const QString& sessionCode);
    bool leaveOldSettings() { return writeFile(backendSettingsPath(), "of old"); }

    std::unique_ptr<AgentFixture> m_agent;
    QString m_directory;
};

void TestAdministration::initTestCase()
{
    if (qEnvironmentVariableIsSet("VANTORY_TEST_NO_ACCOUNTS")) {
        const QByteArray why = qgetenv("VANTORY_TEST_NO_ACCOUNTS");
        QSKIP(why.constData());
    }
    QVERIFY2(!person("ADMINISTRATOR").user.isEmpty(), "to be started by with_administrator");
    QVERIFY(::geteuid() != 0);
}

// The preferences directory as the package sets it up.
void TestAdministration::init()
{
    m_agent = std::make_unique<AgentFixture>();
    Intervals::current().restartRequest = std::chrono::milliseconds(500);
    m_directory = QFileInfo(backendSettingsPath()).path();
    QVERIFY(QDir().mkpath(m_directory));
    QVERIFY(asRoot(QStringLiteral("chown"), QStringLiteral("root:sudo"), m_directory));
    QVERIFY(asRoot(QStringLiteral("chmod"), QStringLiteral("2775"), m_directory));
    QVERIFY(m_agent->start());
}

void TestAdministration::unlock(const Credentials& credentials)
{
    click(window(), "lockButton");
    typeCredentials(credentials.user, credentials.password);
    click(question(), "applyButton");
    QTRY_VERIFY_WITH_TIMEOUT(code()->isEnabled(), kPatience);
    QVERIFY(!question()->isVisible() && AppDelegate::access->status);
}

void TestAdministration::apply(const QString& sessionCode)
{
    code()->setText(sessionCode);
    m_agent->forget();
    const Pulse pulse;
    click(window(), "applyButton");
    window()->close(); // can't be had now
    QVERIFY(window()->isVisible() && !window()->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(!window()->isVisible(), kPatience);
    QVERIFY(pulse.isSteady() && !code()->isEnabled());
    QTRY_COMPARE(m_agent->sent().count("#####request=restart"), 1);
}

void TestAdministration::checksPasswords_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("isRight");

    const auto& [name, password] = person("ADMINISTRATOR");
    const auto& [otherName, otherPassword] = person("OTHER");
    QTest::newRow("one's own") << name << password << true;
    QTest::newRow("another's") << otherName << otherPassword << true;
    QTest::newRow("quotes, dollars") << person("ODD").user << person("ODD").password << true;
    QTest::newRow("one's own, wrong") << name << otherPassword << false;
    QTest::newRow("another's, wrong") << otherName << password << false;
    QTest::newRow("empty password") << name << "" << false;
    QTest::newRow("a second line") << otherName << otherPassword + u'\n' << false;
    QTest::newRow("a zero behind it") << name << password + QChar(u'\0') << false;
    QTest::newRow("beyond measure") << otherName << QString(5'000, u'x') << false;
    QTest::newRow("empty name") << "" << password << false;
    QTest::newRow("unknown name") << "vantory-test-nobody" << password << false;
    QTest::newRow("an option") << "-" << password << false;
    QTest::newRow("a name and more") << name + u'\n' << password << false;
}

void TestAdministration::checksPasswords()
{
    QFETCH(QString, name);
    QFETCH(QString, password);
    QFETCH(bool, isRight);
    const auto check = &SecurityAccess::authenticateLocalAdminUser;
    QCOMPARE(check(name, password, false), isRight);
    if (isRight) { // whether it is an administrator counts only if asked for
        QCOMPARE(check(name, password, true), name == person("ADMINISTRATOR").user);
    }
}

void TestAdministration::wrongPasswordLeavesAllAsItWas()
{
    QVERIFY(leaveOldSettings() && open(*m_agent));
    click(window(), "lockButton");
    typeCredentials(person("ADMINISTRATOR").user, QStringLiteral("wrong"));
    m_agent->forget();
    const Pulse pulse;
    click(question(), "applyButton");
    QVERIFY(!button(question(), "applyButton")->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(button(question(), "applyButton")->isEnabled(), kPatience);
    QVERIFY(pulse.isSteady());
    QVERIFY(!AppDelegate::access->status && question()->isVisible() && !code()->isEnabled());
    QVERIFY(AppDelegate::pwd.isEmpty() && !m_agent->sent().contains("#####request=restart"));
    QCOMPARE(stored(), QByteArray("of old"));
}

void TestAdministration::enrols()
{
    QVERIFY(leaveOldSettings() && giveToRoot(backendSettingsPath()));
    for (const char* const name : {"custom-logo.png", ".hidden", "folder/inside"}) {
        QVERIFY(writeFile(m_agent->preferences(QLatin1String(name)), "x"));
    }
    const QString service = QDir::cleanPath(
        m_directory + QStringLiteral("/../../Application Support/Halvern/vantoryAgent/"
                                     "ostrand_settings.json"));
    QVERIFY(writeFile(service, "x") && open(*m_agent));

    unlock(person("ADMINISTRATOR"));
    QTRY_VERIFY(window()->isActiveWindow() && code()->hasFocus());
    const mode_t old = ::umask(077);
    apply(QStringLiteral("000123"));
    ::umask(old);

    const struct stat status = fileStatus(backendSettingsPath());
    QCOMPARE(status.st_uid, uid_t(0));
    QCOMPARE(status.st_gid, fileStatus(m_directory).st_gid);
    QCOMPARE(status.st_mode & 07777, mode_t(0644));
    const BackendSettings expected = {false, QStringLiteral("000123"), {}, {}};
    QByteArray text = SettingsRules::propertyList(expected).toUtf8() + '\n';
    QCOMPARE(stored(), text.replace('"', ""));
    QCOMPARE(QDir(m_directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(QFileInfo(backendSettingsPath()).fileName()));
    QVERIFY(!QFileInfo::exists(service));

    // Asked for again, it opens when the service has had its time, with what is stored now.
    code()->setText(QStringLiteral("999999"));
    m_agent->delegate->settings();
    QVERIFY(!window()->isVisible());
    QTRY_VERIFY(window()->isVisible());
    QCOMPARE(code()->text(), QStringLiteral("000123"));
    const QStringList lines = m_agent->log() + m_agent->errorLog();
    QVERIFY(lines.filter(person("ADMINISTRATOR").password).isEmpty());
}

void TestAdministration::savesTwiceWithOneQuestion()
{
    QVERIFY(open(*m_agent));
    unlock(person("ADMINISTRATOR"));
    apply(QStringLiteral("111111"));
    QTRY_VERIFY((m_agent->delegate->settings(), window()->isVisible()));
    m_agent->delegate->enableSettings();
    apply(QStringLiteral("222222"));
    QVERIFY(stored().contains("<string>222222</string>"));
    QCOMPARE(fileStatus(backendSettingsPath()).st_uid, uid_t(0));
}

void TestAdministration::aCancelledCheckUnlocksNothing()
{
    QVERIFY(open(*m_agent));
    click(window(), "lockButton");
    typeCredentials(person("ADMINISTRATOR").user, person("ADMINISTRATOR").password);
    click(question(), "applyButton");
    QTest::keyClick(question(), Qt::Key_Escape);
    QVERIFY(!question()->isVisible());
    QTest::qWait(700); // a right password takes a tenth of that
    QVERIFY(!code()->isEnabled() && AppDelegate::user.isEmpty() && AppDelegate::pwd.isEmpty());
    unlock(person("ADMINISTRATOR")); // and the next one counts
}

void TestAdministration::anotherAccountsNameSavesNothing_data()
{
    QTest::addColumn<QByteArray>("who");
    QTest::addColumn<bool>("isRoots");
    QTest::addColumn<QByteArray>("after");
    QTest::newRow("root's file stays") << QByteArray("OTHER") << true << QByteArray("of old");
    QTest::newRow("a file of one's own is emptied") << QByteArray("OTHER") << false << QByteArray();
    QTest::newRow("no line to the shell") << QByteArray("ODD") << false << QByteArray("of old");
}

// The check passes, and then sudo asks for the password of the person who runs the agent.
void TestAdministration::anotherAccountsNameSavesNothing()
{
    QFETCH(QByteArray, who);
    QFETCH(bool, isRoots);
    const QString logo = m_agent->preferences(QStringLiteral("custom-logo.png"));
    QVERIFY(leaveOldSettings() && writeFile(logo, "x"));
    QVERIFY(!isRoots || giveToRoot(backendSettingsPath()));
    QVERIFY(open(*m_agent));
    unlock(person(who));
    apply(QStringLiteral("333333"));
    QVERIFY(!QFileInfo::exists(logo));
    QTEST(stored(), "after");
}

void TestAdministration::withoutADirectory()
{
    QVERIFY(QDir(m_directory).removeRecursively());
    QVERIFY(open(*m_agent));
    unlock(person("ADMINISTRATOR"));
    apply(QStringLiteral("444444"));
    QVERIFY(!QFileInfo::exists(m_directory));
}

QTEST_MAIN(TestAdministration)
#include "tst_administration.moc"

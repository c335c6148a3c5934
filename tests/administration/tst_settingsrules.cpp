#include "WriteFile.h"
#include "agent_core/PrivilegedSettings.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsRules.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

const QString kId = u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s;

// Which entries are valid, and what is written: without a window and without root.
class TestSettingsRules : public QObject {
    Q_OBJECT

private:
    // As the agent has it, with the stand-in for sudo.
    [[nodiscard]] QString script(const QString& password) const
    {
        return PrivilegedSettings::writing({u"me"_s, password}, settingsPropertyList({}),
                                           m_folder.filePath(u"written"_s), u"/bin/true"_s)
            .replace(u"/usr/bin/sudo"_s, m_folder.filePath(u"sudo"_s));
    }

    // What becomes of it: what the shell prints, what the stand-in saw, what is written.
    [[nodiscard]] QByteArray run(const QStringList& arguments, const QString& input,
                                 QProcessEnvironment environment = {}) const
    {
        QProcess shell;
        shell.setStandardErrorFile(QProcess::nullDevice());
        environment.insert(u"HOME"_s, m_folder.path());
        environment.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
        shell.setProcessEnvironment(environment);
        shell.setWorkingDirectory(m_folder.path());
        shell.start(u"/bin/bash"_s, arguments);
        shell.write(input.toUtf8());
        shell.closeWriteChannel();
        QByteArray result = shell.waitForFinished() ? shell.readAll() : QByteArray("no end");
        for (const QString& name : {u"sudo.saw"_s, u"written"_s}) {
            QFile file(m_folder.filePath(name));
            result += file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
            file.remove();
        }
        return result;
    }

    const QTemporaryDir m_folder;

private Q_SLOTS:
    // Only the entry of the chosen mode counts.
    void entries()
    {
        using SettingsRules::Complaint;
        for (const QString& wrong : {u"1234567"_s, u" 12345"_s, u"١٢٣٤٥٦"_s, u'{' + kId + u'}'}) {
            QCOMPARE(SettingsRules::complaint({false, wrong, kId, {}}), Complaint::SessionCode);
            QCOMPARE(SettingsRules::complaint({true, u"123456"_s, wrong, {}}),
                     Complaint::AccountId);
        }
        QCOMPARE(SettingsRules::complaint({false, u"-12345"_s, u"?"_s, {}}), Complaint::None);
        QCOMPARE(SettingsRules::complaint({true, {}, kId.toUpper(), {}}), Complaint::None);
    }

    void initTestCase()
    {
        // Stands in for sudo: notes its arguments, its input and who shows a password.
        const QString sudo = m_folder.filePath(u"sudo"_s);
        QVERIFY(writeFile(
            sudo,
            "#!/bin/sh\n"
            "{ grep -l '[p]wd-of-me' /proc/[0-9]*/cmdline; printf '<%s>' \"$@\"; cat; } >>$0.saw\n"
            "shift 5; exec \"$@\"\n"));
        QFile::setPermissions(sudo, QFile::ReadUser | QFile::ExeUser);
        QVERIFY(writeFile(m_folder.filePath(u"env"_s), "cat; exit"));
    }

    void noCommandLineHoldsThePassword()
    {
        // More than a pipe holds: who writes it is still there when the stand-in looks.
        const QString password = u"pwd-of-me"_s.repeated(10'000);
        const QByteArray seen = run(PrivilegedSettings::shellArguments(), script(password));
        QCOMPARE(seen.count(password.toUtf8()), 2);
        QVERIFY2(!seen.contains("/proc/"), seen.left(200));
    }

    // With the script on its input, and whatever the environment holds, the shell does what it does
    // with the script as its argument, and with the program "echo".
    void theShellReadsTheScriptAsItsArgument()
    {
        const QString passwords[] = {u" blank, ümlaut 암호"_s, u"a\" -n -e \"\tb"_s,
                                     u"`pwd` $0 $((1+1)) $# $1 * ! ~ {a,b}"_s,
                                     u"\x01\x02\x7f\t\r\n\n"_s,
                                     u"\"; cat; ls /proc/self/fd; return; ) echo \""_s};
        QProcessEnvironment odd;
        odd.insert(u"BASH_FUNC_echo%%"_s, u"() { exit; }"_s);
        odd.insert(u"BASH_ENV"_s, m_folder.filePath(u"env"_s));
        odd.insert(u"SHELLOPTS"_s, u"noglob:nounset:onecmd"_s);
        odd.insert(u"POSIXLY_CORRECT"_s, u"1"_s);
        for (const QString& password : passwords) {
            const QString before = script(password).replace(u" ; echo "_s, u" ; /bin/echo "_s);
            const QByteArray expected = run({u"-c"_s, u"/bin/"_s + before}, {});
            QCOMPARE(run(PrivilegedSettings::shellArguments(), script(password), odd), expected);
        }
    }
};

QTEST_GUILESS_MAIN(TestSettingsRules)
#include "tst_settingsrules.moc"

#include "agent_core/SettingsCommands.h"
#include "platform/processes/SecretText.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsRules.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kId = u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s;

} // namespace

// Which entries are valid, and what is written: without a window and without root.
class TestSettingsRules : public QObject {
    Q_OBJECT

private:
    // As the agent has it, with the stand-in for sudo.
    [[nodiscard]] QString script(const QString& password, const BackendSettings& settings) const
    {
        return SettingsCommands::write({u"me"_s, password}, settingsPropertyList(settings),
                                       m_folder.filePath(u"written"_s), u"/bin/true"_s)
            .replace(u"/usr/bin/sudo"_s, m_folder.filePath(u"sudo"_s));
    }

    // What becomes of it: what the shell prints, what the stand-in saw, what is written.
    [[nodiscard]] QByteArray run(const QString& script, const QStringList& arguments = {},
                                 QProcessEnvironment environment = {}) const
    {
        QProcess shell;
        shell.setStandardErrorFile(QProcess::nullDevice());
        environment.insert(u"HOME"_s, m_folder.path());
        environment.insert(u"PATH"_s, u"/usr/bin:/bin"_s);
        shell.setProcessEnvironment(environment);
        shell.setWorkingDirectory(m_folder.path());
        if (script.isEmpty()) {
            shell.setStandardInputFile(QProcess::nullDevice());
            shell.start(u"/bin/bash"_s, arguments);
        } else {
            shell.start(u"/bin/bash"_s, SettingsCommands::shellArguments());
            shell.write(script.toUtf8());
        }
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
        const QStringList codes = {u"000123"_s, u"-12345"_s}; // a sign is part of a number
        const QStringList accounts = {kId, kId.toUpper()};
        const QStringList wrong =
            u"|12345|1234567|0x1234| 12345|12345\n|123456\n|--1234|------|123.45|١٢٣٤٥٦|😀😀😀"_s
                .split(u'|') +
            QStringList{u'{' + kId + u'}',
                        QString(kId).remove(u'-'),
                        kId.chopped(1),
                        kId + u'0',
                        QString(kId).replace(1, 1, u'g'),
                        QString(kId).replace(0, 1, u'３'),
                        kId + u'\n'};
        for (const QString& entry : codes + accounts + wrong) {
            const auto code = SettingsRules::complaint({false, entry, kId, {}});
            const auto account = SettingsRules::complaint({true, u"123456"_s, entry, {}});
            const bool isCode = codes.contains(entry);
            const bool isAccount = accounts.contains(entry);
            QVERIFY2(code == (isCode ? Complaint::None : Complaint::SessionCode),
                     qPrintable(entry));
            QCOMPARE(account, isAccount ? Complaint::None : Complaint::AccountId);
        }
    }

    void initTestCase()
    {
        // Stands in for sudo: notes its arguments, its input and who shows a password.
        QFile sudo(m_folder.filePath(u"sudo"_s));
        QVERIFY(sudo.open(QIODevice::WriteOnly));
        sudo.write(
            "#!/bin/sh\n"
            "{ grep -l '[p]wd-of-me' /proc/[0-9]*/cmdline; printf '<%s>' \"$@\"; cat; } >>$0.saw\n"
            "shift 5; exec \"$@\"\n");
        sudo.setPermissions(QFile::ReadUser | QFile::ExeUser);
        for (const char* const name : {"env", ".bashrc"}) {
            QFile file(m_folder.filePath(QLatin1StringView(name)));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("cat; exit") > 0);
        }
    }

    void writtenFileIsReadBack()
    {
        for (const BackendSettings& settings :
             {BackendSettings{false, u"000123"_s, {}, {}},
              BackendSettings{true, u"000123"_s, kId, u"testing"_s}}) {
            QTemporaryFile file;
            const QByteArray written = run(script(u"plain"_s, settings));
            QVERIFY(file.open() && file.write(written.sliced(written.lastIndexOf("<?xml"))) > 0 &&
                    file.flush());
            QCOMPARE(read_BackendSettingsPlist(file.fileName()), settings);
        }
    }

    void noCommandLineHoldsThePassword()
    {
        // More than a pipe holds: who writes it is still there when the stand-in looks.
        const QString password = u"pwd-of-me"_s.repeated(10'000);
        const QByteArray seen = run(script(password, {}));
        QCOMPARE(seen.count(password.toUtf8()), 2);
        QVERIFY2(!seen.contains("/proc/"), seen.left(200));
    }

    // With the script on its input, and whatever the environment holds, the shell does what it does
    // with the script as its argument, and with the program "echo".
    void theShellReadsTheScriptAsItsArgument()
    {
        const QString passwords[] = {u" blank, ümlaut 암호"_s,
                                     u"quo\"te $HOME 'x'"_s,
                                     u"two\" \"words"_s,
                                     u"a\" -n -e \"\\tb"_s,
                                     u"back\\\\slash\\n\\c\\"_s,
                                     u"`pwd` $0 $((1+1)) $# $1 $LINENO * ! ~ {a,b}"_s,
                                     u"-n"_s,
                                     u"-e"_s,
                                     u"-e a\\tb"_s,
                                     u"\x01\x02\x7f\t\r\n\n"_s,
                                     u"\"; cat; ls /proc/self/fd; echo \""_s,
                                     u"\"; exit; echo \""_s,
                                     u"\"; return; ) echo \""_s,
                                     u"\"\nls -l /proc/self/fd/0 | sed 's/.* //'\necho \""_s};
        const QProcessEnvironment odd = [this] {
            QProcessEnvironment variables;
            for (const char* const name : {"echo", "eval"}) {
                variables.insert(u"BASH_FUNC_%1%%"_s.arg(QLatin1StringView(name)),
                                 u"() { exit; }"_s);
            }
            variables.insert(u"BASH_ENV"_s, m_folder.filePath(u"env"_s));
            variables.insert(u"BASHOPTS"_s, u"xpg_echo"_s);
            variables.insert(u"SHELLOPTS"_s, u"noglob:nounset:onecmd"_s);
            variables.insert(u"POSIXLY_CORRECT"_s, u"1"_s);
            variables.insert(u"SSH_CLIENT"_s, u"1"_s);
            return variables;
        }();
        for (const QString& password : passwords) {
            const QString text = script(password, {});
            const QString before = QString(text).replace(u" ; echo "_s, u" ; /bin/echo "_s);
            const QByteArray expected = run({}, {u"-c"_s, u"/bin/"_s + before});
            QCOMPARE(run(text), expected);
            QCOMPARE(run(text, {}, odd), expected);
        }
    }

    void storedFiles()
    {
        const QByteArray platform = "<key>platform</key><string>testing</string>";
        const QByteArray least = "<key>accountID</key><string>a</string>" + platform;
        const QByteArray wrongTypes =
            "<key>managed</key><string>true</string><key>sessionCode</key><true/>";
        const std::pair<QByteArray, bool> files[] = {
            {least + "<key>z</key><array><true/></array>", true},
            {least + wrongTypes, true}, // of what may be missing
            {platform, false},
            {"<key>accountID</key><true/>" + platform, false},
        };
        const BackendSettings settings{false, {}, u"a"_s, u"testing"_s};
        for (const auto& [content, isRead] : files) {
            QTemporaryFile file;
            QVERIFY(file.open() && file.write("<plist><dict>" + content + "</dict></plist>") > 0);
            QVERIFY(file.flush());
            QVERIFY2((read_BackendSettingsPlist(file.fileName()) == settings) == isRead, content);
        }
    }

    void wipedTextIsGone()
    {
        QString typed = u"se"_s + u'c';
        const QString shared = typed;
        SecretText::wipe(typed);
        QVERIFY(typed.isEmpty());
        QCOMPARE(shared, QString(3, QChar(u'\0'))); // the characters themselves are gone
    }
};

QTEST_GUILESS_MAIN(TestSettingsRules)
#include "tst_settingsrules.moc"

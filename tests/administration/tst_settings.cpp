#include "WriteFile.h"
#include "agent_core/PrivilegedSettings.h"
#include "platform/processes/SecretText.h"
#include "settings/SettingsFile.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

const QString kId = u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s;

// Which entries are valid, and what is written: without a window and without root.
class TestSettings : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Only the entry of the chosen mode counts.
    void entries()
    {
        using Settings = BackendSettings;
        using Entry = Settings::Entry;
        for (const QString& wrong : {u"1234567"_s, u" 12345"_s, u"١٢٣٤٥٦"_s, u'{' + kId + u'}'}) {
            QCOMPARE((Settings{false, wrong, kId, {}}.invalidEntry()), Entry::SessionCode);
            QCOMPARE((Settings{true, u"123456"_s, wrong, {}}.invalidEntry()), Entry::AccountId);
        }
        QVERIFY((!Settings{false, u"-12345"_s, u"?"_s, {}}.invalidEntry()));
        QVERIFY((!Settings{true, {}, kId.toUpper(), {}}.invalidEntry()));
    }

    // The shell has the password to the letter, whatever the environment holds, and nobody else
    // has.
    void noCommandLineHoldsThePassword()
    {
        qputenv("BASH_FUNC_echo%%", "() { exit; }");
        const QTemporaryDir folder;
        // Stands in for sudo: notes its arguments, its input and who shows a password.
        const QString sudo = folder.filePath(u"sudo"_s);
        QVERIFY(writeFile(
            sudo,
            "#!/bin/sh\n"
            "{ grep -l '[p]wd-of-me' /proc/[0-9]*/cmdline; printf '<%s>' \"$@\"; cat; } >>$0.saw\n"
            "shift 5; exec \"$@\"\n"));
        QFile::setPermissions(sudo, QFile::ReadUser | QFile::ExeUser);
        // More than a pipe holds: who writes it is still there when the stand-in looks.
        const QString password = u"pwd-of-me  * "_s.repeated(10'000);
        QString script = PrivilegedSettings::writing({u"me"_s, password}, settingsPropertyList({}),
                                                     folder.filePath(u"written"_s), u"/bin/true"_s);
        script.replace(u"/usr/bin/sudo"_s, sudo);
        QProcess shell;
        shell.start(u"/bin/bash"_s, PrivilegedSettings::shellArguments());
        shell.write(script.toUtf8());
        shell.closeWriteChannel();
        QVERIFY(shell.waitForFinished());
        QFile saw(sudo + u".saw"_s);
        QVERIFY(saw.open(QIODevice::ReadOnly));
        const QByteArray seen = saw.readAll();
        QCOMPARE(seen.count(password.toUtf8()), 2);
        QVERIFY2(!seen.contains("/proc/"), seen.left(200));
        const QString copy = script;
        SecretText::wipe(script);
        QVERIFY(script.isEmpty() && copy == QString(copy.size(), QChar(u'\0')));
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "tst_settings.moc"

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

    // The real shell writes it, with the test's own rights.
    void writtenFileIsReadBack()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"written.plist"_s);
        for (const BackendSettings& settings :
             {BackendSettings{false, u"000123"_s, {}, {}},
              BackendSettings{true, u"000123"_s, kId, u"testing"_s}}) {
            QString line = SettingsCommands::write(
                {u"me"_s, u"secret"_s}, settingsPropertyList(settings), path, u"/bin/true"_s);
            line.remove(u"/usr/bin/sudo -u \"me\" -S /usr/bin/sudo -S "_s);
            QCOMPARE(QProcess::execute(u"/bin/bash"_s, {u"-c"_s, line}), 0);
            QCOMPARE(read_BackendSettingsPlist(path), settings);
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

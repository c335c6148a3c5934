#include "agent_core/SettingsCommands.h"
#include "agent_core/SettingsFile.h"
#include "agent_core/SettingsRules.h"
#include "platform/processes/SecretText.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kId = u"3f2504e0-4f89-41d3-9a0c-0305e82c3301"_s;

} // namespace

// What is a valid entry, and what is written where: no window, no root.
class TestSettingsRules : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;

private Q_SLOTS:
    void entries_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<bool>("isCode");
        QTest::addColumn<bool>("isAccount");
        const auto row = [](const QString& entry, bool isCode, bool isAccount) {
            QTest::addRow("<%s>", qPrintable(entry)) << entry << isCode << isAccount;
        };
        row(u"000123"_s, true, false);
        row(u"-12345"_s, true, false); // a sign is a part of a number
        row(kId, false, true);
        row(kId.toUpper(), false, true);
        for (const QString& wrong :
             {QString(), u"12345"_s, u"1234567"_s, u"0x1234"_s, u" 12345"_s, u"12345\n"_s,
              u"123456\n"_s, u"--1234"_s, u"------"_s, u"123.45"_s, u"١٢٣٤٥٦"_s, u"😀😀😀"_s,
              u'{' + kId + u'}', QString(kId).remove(u'-'), kId.chopped(1), kId + u'0',
              QString(kId).replace(1, 1, u'g'), QString(kId).replace(0, 1, u'３'), kId + u'\n'}) {
            row(wrong, false, false);
        }
    }
    // Only the chosen mode's entry counts.
    void entries()
    {
        using SettingsRules::Complaint;
        QFETCH(QString, entry);
        QFETCH(bool, isCode);
        QFETCH(bool, isAccount);
        QCOMPARE(SettingsRules::complaint({false, entry, kId, {}}),
                 isCode ? Complaint::None : Complaint::SessionCode);
        QCOMPARE(SettingsRules::complaint({true, u"123456"_s, entry, {}}),
                 isAccount ? Complaint::None : Complaint::AccountId);
    }

    void commandLines()
    {
        const Credentials who = {u"ad min"_s, u"p\"w$d"_s};
        const QString asRoot = u"/bin/echo \"p\"w$d\" | /usr/bin/sudo -u \"ad min\" -S "
                               "/usr/bin/sudo -S "_s;
        QCOMPARE(SettingsCommands::remove(who, u"/a/b c"_s), asRoot + u"/bin/rm \"/a/b c\""_s);
        QCOMPARE(SettingsCommands::write(who, u"<x a=\"1\">"_s, u"/a/b"_s, u"/bin/chown"_s),
                 asRoot + u"/bin/echo \"<x a=\"1\">\" > /a/b ; "_s + asRoot +
                     u"/bin/chown root  /a/b"_s);
    }

    // The real shell writes it, with nobody but the person's rights.
    void writtenFileIsReadBack()
    {
        const QString path = m_root.filePath(u"written.plist"_s);
        for (const BackendSettings& settings :
             {BackendSettings{false, u"000123"_s, {}, {}},
              BackendSettings{true, u"000123"_s, kId, u"testing"_s}}) {
            QString line = SettingsCommands::write({u"me"_s, u"secret"_s},
                                                   SettingsCommands::propertyList(settings), path,
                                                   u"/bin/true"_s);
            line.remove(u"/usr/bin/sudo -u \"me\" -S /usr/bin/sudo -S "_s);
            QCOMPARE(QProcess::execute(u"/bin/bash"_s, {u"-c"_s, line}), 0);
            QCOMPARE(read_BackendSettingsPlist(path), settings);
        }
    }

    void storedFiles_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isRead");
        const QByteArray platform = "<key>platform</key><string>testing</string>";
        const QByteArray least = "<key>accountID</key><string>a</string>" + platform;
        const auto row = [](const char* name, const QByteArray& inside, bool isRead) {
            QTest::newRow(name) << "<plist><dict>" + inside + "</dict></plist>" << isRead;
        };
        row("least, and unknown keys", least + "<key>z</key><array><true/></array>", true);
        row("wrong types of what may be missing",
            least + "<key>managed</key><string>true</string><key>sessionCode</key><true/>", true);
        row("no account", platform, false);
        row("account of a wrong type", "<key>accountID</key><true/>" + platform, false);
        QTest::newRow("truncated") << "<plist><dict>" + least << false;
        QTest::newRow("noise") << QByteArray(300, '\xfe') << false;
        QTest::newRow("a list") << QByteArray("<plist><array/></plist>") << false;
    }
    void storedFiles()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isRead);
        QFile file(m_root.filePath(u"stored.plist"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        file.close();
        const BackendSettings settings{false, {}, u"a"_s, u"testing"_s};
        QCOMPARE(read_BackendSettingsPlist(file.fileName()),
                 isRead ? std::optional(settings) : std::nullopt);
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

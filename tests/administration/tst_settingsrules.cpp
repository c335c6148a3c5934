#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "agent_core/SettingsRules.h"
#include "platform/SecretText.h"

namespace {

const QString kId = QStringLiteral("3f2504e0-4f89-41d3-9a0c-0305e82c3301");

} // namespace

// What is a valid entry, and what is written where: no window, no root.
class TestSettingsRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("VANTORY_ROOT", QFile::encodeName(m_root.path())); }

    void entries_data();
    void entries();
    void platforms();
    void commandLines();
    void writtenFileIsReadBack();
    void storedFiles_data();
    void storedFiles();
    void wipedTextIsGone();

private:
    QTemporaryDir m_root;
};

void TestSettingsRules::entries_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("isCode");
    QTest::addColumn<bool>("isAccount");

    QTest::newRow("six digits") << "123456" << true << false;
    QTest::newRow("leading zeros") << "000123" << true << false;
    QTest::newRow("a sign is a part of a number") << "-12345" << true << false;
    QTest::newRow("lower case") << kId << false << true;
    QTest::newRow("upper case") << kId.toUpper() << false << true;
    QTest::newRow("nil") << "00000000-0000-0000-0000-000000000000" << false << true;
    const auto none = [](const char* name, const QString& entry) {
        QTest::newRow(name) << entry << false << false;
    };
    const auto braced = QLatin1String("{") + kId + QLatin1String("}");
    none("empty", {});
    none("five", QStringLiteral("12345"));
    none("seven", QStringLiteral("1234567"));
    none("a letter", QStringLiteral("12a456"));
    none("hexadecimal", QStringLiteral("0x1234"));
    none("a blank before", QStringLiteral(" 12345"));
    none("a line break for a digit", QStringLiteral("12345\n"));
    none("six digits and a line break", QStringLiteral("123456\n"));
    none("two signs", QStringLiteral("--1234"));
    none("only hyphens", QStringLiteral("------"));
    none("a fraction", QStringLiteral("123.45"));
    none("Arabic digits", QStringLiteral("١٢٣٤٥٦"));
    none("full-width digits", QStringLiteral("１２３４５６"));
    none("three emoji, six code units", QStringLiteral("😀😀😀"));
    none("braces", braced);
    none("no hyphens", QString(kId).remove(u'-'));
    none("a hyphen elsewhere", QStringLiteral("3f2504e04-f89-41d3-9a0c-0305e82c3301"));
    none("too short", kId.chopped(1));
    none("too long", kId + u'0');
    none("no hexadecimal digit", QString(kId).replace(1, 1, u'g'));
    none("a full-width digit", QString(kId).replace(0, 1, u'３'));
    none("a line break after", kId + u'\n');
}

// Only the chosen mode's entry counts.
void TestSettingsRules::entries()
{
    using SettingsRules::Complaint;
    QFETCH(QString, entry);
    QFETCH(bool, isCode);
    QFETCH(bool, isAccount);
    QCOMPARE(SettingsRules::complaint({false, entry, kId, {}}),
             isCode ? Complaint::None : Complaint::SessionCode);
    QCOMPARE(SettingsRules::complaint({true, QStringLiteral("123456"), entry, {}}),
             isAccount ? Complaint::None : Complaint::AccountId);
}

void TestSettingsRules::platforms()
{
    const QStringList names = SettingsRules::platformNames();
    QCOMPARE(names.join(u' '), QStringLiteral("production staging testing"));
    const QStringList stored = {QString(), QStringLiteral("staging"), QStringLiteral("testing")};
    for (int i = 0; i < names.size(); ++i) {
        QCOMPARE(SettingsRules::platformValue(names.at(i)), stored.at(i));
        QCOMPARE(SettingsRules::platformIndex(stored.at(i)), i);
    }
    QCOMPARE(SettingsRules::platformIndex(QStringLiteral("elsewhere")), 0);
}

void TestSettingsRules::commandLines()
{
    const Credentials who = {QStringLiteral("ad min"), QStringLiteral("p\"w$d")};
    QCOMPARE(SettingsRules::removeCommand(who, QStringLiteral("/a/b c")),
             QStringLiteral("/bin/echo \"p\"w$d\" | /usr/bin/sudo -u \"ad min\" -S "
                            "/usr/bin/sudo -S /bin/rm \"/a/b c\""));
    QCOMPARE(SettingsRules::writeCommand(who, QStringLiteral("<x a=\"1\">"), QStringLiteral("/a/b"),
                                         QStringLiteral("/usr/sbin/chown")),
             QStringLiteral("/bin/echo \"p\"w$d\" | /usr/bin/sudo -u \"ad min\" -S "
                            "/usr/bin/sudo -S /bin/echo \"<x a=\"1\">\" > /a/b ; "
                            "/bin/echo \"p\"w$d\" | /usr/bin/sudo -u \"ad min\" -S "
                            "/usr/bin/sudo -S /usr/sbin/chown root  /a/b"));
}

// The real shell writes it, with nobody but the person's rights.
void TestSettingsRules::writtenFileIsReadBack()
{
    const QString path = m_root.filePath(QStringLiteral("written.plist"));
    const QString code = QStringLiteral("000123");
    for (const BackendSettings& settings :
         {BackendSettings{false, code, {}, {}},
          BackendSettings{true, code, kId, QStringLiteral("testing")}}) {
        QString line = SettingsRules::writeCommand({QStringLiteral("me"), QStringLiteral("secret")},
                                                   SettingsRules::propertyList(settings), path,
                                                   QStringLiteral("/bin/true"));
        line.remove(QStringLiteral("/usr/bin/sudo -u \"me\" -S /usr/bin/sudo -S "));
        QCOMPARE(QProcess::execute(QStringLiteral("/bin/bash"), {QStringLiteral("-c"), line}), 0);
        QCOMPARE(read_BackendSettingsPlist(path), settings);
    }
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(),
             QByteArray("<?xml version=1.0 encoding=UTF-8?>\n"
                        "<!DOCTYPE plist PUBLIC -//Apple//DTD PLIST 1.0//EN "
                        "http://www.apple.com/DTDs/PropertyList-1.0.dtd>\n"
                        "<plist version=1.0>\n<dict>\n"
                        "    <key>managed</key>\n    <true/>\n"
                        "    <key>sessionCode</key>\n    <string>000123</string>\n"
                        "    <key>accountID</key>\n    <string>") +
                 kId.toUtf8() +
                 "</string>\n    <key>platform</key>\n    <string>testing</string>\n"
                 "</dict>\n</plist>\n");
}

void TestSettingsRules::storedFiles_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<std::optional<BackendSettings>>("settings");
    using Read = std::optional<BackendSettings>;
    const Read none;
    const QByteArray keys = "<key>accountID</key><string>a</string>"
                            "<key>platform</key><string>testing</string>";
    const Read least = BackendSettings{false, {}, QStringLiteral("a"), QStringLiteral("testing")};
    const auto document = [](const QByteArray& inside) {
        return "<plist version=\"1.0\"><dict>" + inside + "</dict></plist>";
    };

    QTest::newRow("empty") << QByteArray("") << none;
    QTest::newRow("truncated") << document(keys).chopped(20) << none;
    QTest::newRow("noise") << QByteArray(300, '\xfe') << none;
    QTest::newRow("a list") << QByteArray("<plist><array/></plist>") << none;
    QTest::newRow("no account") << document("<key>platform</key><string/>") << none;
    QTest::newRow("no platform") << document("<key>accountID</key><string/>") << none;
    QTest::newRow("account of a wrong type")
        << document("<key>accountID</key><integer>1</integer><key>platform</key><string/>") << none;
    QTest::newRow("least, and unknown keys")
        << document(keys + "<key>z</key><array><true/></array>") << least;
    QTest::newRow("wrong types of what may be missing")
        << document(keys + "<key>managed</key><string>true</string>"
                           "<key>sessionCode</key><integer>123456</integer>")
        << least;
    QTest::newRow("another platform") << document("<key>accountID</key><string>a</string>"
                                                  "<key>platform</key><string>production</string>")
                                      << Read(BackendSettings{false, {}, QStringLiteral("a"), {}});
    const QByteArray binary = QByteArray::fromHex(
        "62706c6973743030d3010203040506596163636f756e744944576d616e6167656458706c6174666f"
        "726d5161095774657374696e67080f19212a2c2d0000000000000101000000000000000700000000"
        "000000000000000000000035");
    QTest::newRow("binary") << binary
                            << Read(BackendSettings{
                                   true, {}, QStringLiteral("a"), QStringLiteral("testing")});
}

void TestSettingsRules::storedFiles()
{
    QFETCH(QByteArray, content);
    QFile file(m_root.filePath(QStringLiteral("stored.plist")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    QTEST(read_BackendSettingsPlist(file.fileName()), "settings");
    QVERIFY(!read_BackendSettingsPlist(m_root.path())); // a directory
}

void TestSettingsRules::wipedTextIsGone()
{
    QString typed = QStringLiteral("se") + QString(u'c');
    const QString shared = typed;
    const QString kept = SecretText::copy(typed);
    SecretText::wipe(typed);
    QVERIFY(typed.isEmpty());
    QCOMPARE(shared, QString(3, QChar(u'\0'))); // the characters themselves are gone
    QCOMPARE(kept, QStringLiteral("sec"));
    QString literal = QStringLiteral("unwritable");
    SecretText::wipe(literal);
    QVERIFY(literal.isEmpty());
}

QTEST_GUILESS_MAIN(TestSettingsRules)
#include "tst_settingsrules.moc"

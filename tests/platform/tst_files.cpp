#include "platform/Account.h"
#include "platform/FilePaths.h"
#include "platform/MainBundle.h"
#include "platform/PreferredLanguages.h"
#include "platform/PropertyList.h"

#include <optional>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>
#include <QtEndian>

#include <sys/stat.h>

namespace {

using Values = std::optional<QVariantMap>;

bool write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray big(qint64 number, int width)
{
    QByteArray bytes(8, '\0');
    qToBigEndian(number, bytes.data());
    return bytes.right(width);
}

// {"k": the objects' first} as a binary list; references have two bytes, the first object is 2.
QByteArray binaryList(QByteArrayList objects)
{
    objects = QByteArrayList{"\xD1" + big(1, 2) + big(2, 2), "\x51k"} + objects;
    QByteArray bytes = "bplist00";
    QByteArray table;
    for (const QByteArray& object : objects) {
        table += big(bytes.size(), 4);
        bytes += object;
    }
    return bytes + table + big(0x0402, 8) + big(objects.size(), 8) + big(0, 8) +
           big(bytes.size(), 8);
}

// Arrays within one another, each holding the next one so many times.
QByteArrayList nested(int levels, int times)
{
    QByteArrayList objects;
    for (int level = 0; level < levels; ++level) {
        objects.append(static_cast<char>(0xA0 | times) + big(level + 3, 2).repeated(times));
    }
    return objects << "\x09";
}

// As the settings' writer leaves it: the shell that wrote it has dropped the quotes of the head.
QByteArray settings(const QByteArray& sessionCode)
{
    return "<?xml version=1.0 encoding=UTF-8?>\n"
           "<!DOCTYPE plist PUBLIC -//Apple//DTD PLIST 1.0//EN "
           "http://www.apple.com/DTDs/PropertyList-1.0.dtd>\n"
           "<plist version=1.0>\n<dict>\n"
           "    <key>managed</key>\n    <true/>\n"
           "    <key>sessionCode</key>\n    <string>" +
           sessionCode +
           "</string>\n"
           "    <key>platform</key>\n    <string></string>\n"
           "</dict>\n</plist>\n";
}

const QByteArray kAllKinds = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><!-- a comment --><key>b</key><false/>
<key>i</key><integer>62188</integer><key>n</key><integer>-2</integer>
<key>u</key><integer>18446744073709551615</integer><key>r</key><real>1.5</real>
<key>s</key><string>H&#252;bsch &amp; &lt;gut&gt;</string><key>d</key><data>AAH/</data>
<key>t</key><date>2024-03-07T14:05:09Z</date>
<key>l</key><array><integer>1</integer><dict><key>x</key><string>y</string></dict></array>
</dict></plist>)";

// The same in the binary form, as another program (Python's plistlib) writes it.
const QByteArray kAllKindsBinary = QByteArray::fromBase64(
    "YnBsaXN0MDDZAQIDBAUGBwgJCgsMDRITFBUWUWJRZFFpUWxRblFyUXNRdFF1CEMAAf8R8uyiDg8QAdEQEVF4UXkT////"
    "//////4jP/gAAAAAAABuAEgA/ABiAHMAYwBoACAAJgAgADwAZwB1AHQAPjNBxc0AioAAABQAAAAAAAAAAP//////////"
    "CBsdHyEjJScpKy0uMjU4Oj0/QUpTcHkAAAAAAAABAQAAAAAAAAAXAAAAAAAAAAAAAAAAAAAAig==");

const QVariantMap kAllValues = {
    {u"b"_qs, false},
    {u"i"_qs, 62188LL},
    {u"n"_qs, -2LL},
    {u"u"_qs, 18446744073709551615ULL},
    {u"r"_qs, 1.5},
    {u"s"_qs, u"Hübsch & <gut>"_qs},
    {u"d"_qs, QByteArray("\0\1\xFF", 3)},
    {u"t"_qs, QDateTime(QDate(2024, 3, 7), QTime(14, 5, 9), Qt::UTC)},
    {u"l"_qs, QVariantList{1LL, QVariantMap{{u"x"_qs, u"y"_qs}}}},
};

// What this program, started as a child, finds around itself; no application object exists then.
int tell()
{
    QTextStream(stdout) << MainBundle::path() << '\n'
                        << MainBundle::resourcePath(u"oem"_qs, u"plist"_qs).value_or(u"-"_qs)
                        << '\n'
                        << MainBundle::resourcePath(u"oem"_qs, u"json"_qs).value_or(u"-"_qs) << '\n'
                        << MainBundle::infoValue(u"sessionCode"_qs).toString() << '\n'
                        << Account::loginName() << '\n'
                        << Account::fullName() << '\n';
    return 0;
}

QStringList told(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput()).split(u'\n');
}

} // namespace

class TestFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void propertyLists_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<Values>("expected");
        const auto row = [](const char* name, const QByteArray& bytes,
                            const Values& expected = std::nullopt) {
            QTest::newRow(name) << bytes << expected;
        };
        const QVariantMap stored = {
            {u"managed"_qs, true}, {u"sessionCode"_qs, u"123456"_qs}, {u"platform"_qs, QString()}};
        constexpr qsizetype kMebibyte = 1024 * 1024;

        row("the settings, whose head has no quotes", settings("123456"), stored);
        row("all kinds", kAllKinds, kAllValues);
        row("all kinds, binary", kAllKindsBinary, kAllValues);
        row("a byte order mark", "\xEF\xBB\xBF" + settings("123456"), stored);
        row("the largest", settings("123456").leftJustified(kMebibyte, ' '), stored);
        row("too large", settings("123456").leftJustified(kMebibyte + 1, ' '));
        row("an unescaped &", settings("R&D"));
        row("an unescaped <", settings("a<b"));
        row("another root", "<plist><array><true/></array></plist>");
        row("truncated", settings("123456").left(250));
        row("truncated, binary", kAllKindsBinary.chopped(1));
        row("UTF-16", QByteArray("\xFF\xFE<\0d\0i\0c\0t\0/\0>\0", 16));
        row("no property list", "{\"managed\": true}");
        row("empty", "");
        row("too deep", "<plist><dict><key>k</key>" + QByteArray("<array>").repeated(60'000) +
                            QByteArray("</array>").repeated(60'000) + "</dict></plist>");
        row("too deep, binary", binaryList(nested(5'000, 1)));
        row("an array within itself, binary", binaryList({"\xA1" + big(2, 2)}));
        row("few bytes, but no end of arrays, binary", binaryList(nested(40, 2)));
        row("few bytes, but no end of text, binary",
            binaryList({"\xAF\x11\x03\xE8" + big(3, 2).repeated(1000),
                        "\x5F\x11\x0B\xB8" + QByteArray(3000, 'x')}));
        row("a reference to nothing, binary", binaryList({"\xA1" + big(3, 2)}));
        row("a key with a zero, binary",
            binaryList({"\xD1" + big(3, 2) + big(3, 2), "\x52k" + big(0, 1)}));
        row("within all bounds, binary", binaryList({"\x51v"}), QVariantMap{{u"k"_qs, u"v"_qs}});
    }

    void propertyLists()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const Values, expected);
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"list.plist"_qs);
        QVERIFY(write(path, bytes));
        QCOMPARE(PropertyList::readDictionary(path), expected);
    }

    void propertyListsAreRegularFiles()
    {
        const QTemporaryDir directory;
        const QString pipe = directory.filePath(u"pipe"_qs);
        QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        for (const QString& path :
             {pipe, directory.path(), directory.filePath(u"missing"_qs), u"/dev/zero"_qs}) {
            QCOMPARE(PropertyList::readDictionary(path), Values());
        }
    }

    void languages_data()
    {
        QTest::addColumn<QByteArrayList>("variables"); // LANGUAGE, LC_ALL, LC_MESSAGES, LANG
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const QByteArrayList& variables,
                            const char* expected) {
            QTest::newRow(name) << variables << QString::fromUtf8(expected);
        };
        row("nothing", {"", "", "", ""}, "C");
        row("the last", {"", "", "", "pt_BR.UTF-8"}, "pt_BR");
        row("the first that is set", {"", "", "it_IT@euro", "de_DE.UTF-8"}, "it_IT");
        row("all before messages", {"", "fr_FR", "it_IT", "de_DE"}, "fr_FR");
        row("a list before all", {"ko:en_US.UTF-8:ko", "de_DE.UTF-8@euro", "", ""},
            "ko en_US de_DE");
        row("the list names it too", {"de:en", "", "", "en"}, "de en");
        row("C with an encoding", {"", "", "", "C.UTF-8"}, "C");
        row("POSIX", {"", "POSIX", "", "fr_FR"}, "POSIX");
        row("only colons", {QByteArray(9000, ':'), "", "", ".UTF-8"}, "C");
    }

    void languages()
    {
        QFETCH(const QByteArrayList, variables);
        QFETCH(const QString, expected);
        qputenv("LANGUAGE", variables[0]);
        qputenv("LC_ALL", variables[1]);
        qputenv("LC_MESSAGES", variables[2]);
        qputenv("LANG", variables[3]);
        QCOMPARE(preferredLanguages().join(u' '), expected);
    }

    void rootedPaths()
    {
        const auto rooted = [](const QByteArray& root) {
            qputenv("VANTORY_ROOT", root);
            return FilePaths::rooted(u"/Library/a"_qs);
        };
        QCOMPARE(rooted("/tmp/root"), u"/tmp/root/Library/a"_qs);
        QCOMPARE(rooted("/tmp/root//"), u"/tmp/root/Library/a"_qs);
        QCOMPARE(rooted("root/"), QDir::currentPath() + u"/root/Library/a"_qs);
        QCOMPARE(rooted("/"), u"/Library/a"_qs);
        QCOMPARE(rooted(""), u"/Library/a"_qs);
    }

    void theBundleIsWhereTheProgramLies()
    {
        const QTemporaryDir directory;
        const QString bundle = directory.filePath(u"Grüß.app"_qs);
        const QString resource = bundle + u"/Resources/oem.plist"_qs;
        const QString link = directory.filePath(u"link"_qs);
        QVERIFY(QDir().mkpath(bundle + u"/Resources/oem.json"_qs)); // a directory is no file
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), bundle + u"/program"_qs));
        QVERIFY(QFile::link(bundle + u"/program"_qs, link));
        QVERIFY(write(bundle + u"/Info.plist"_qs, settings("123456")));
        QVERIFY(write(resource, ""));
        QCOMPARE(told(link, {u"--tell"_qs}).first(4),
                 QStringList({bundle, resource, u"-"_qs, u"123456"_qs}));
    }

    void names_data()
    {
        QTest::addColumn<QByteArray>("comment");
        QTest::addColumn<QString>("expected");
        QTest::newRow("first part") << QByteArray("Ann Bell,Room 3,,") << u"Ann Bell"_qs;
        QTest::newRow("stands for the login name") << QByteArray("& Bell") << u"Ann Bell"_qs;
        QTest::newRow("empty") << QByteArray(",Room 3") << u"ann"_qs;
        QTest::newRow("not UTF-8") << QByteArray("Zo\xEB") << u"Zo\uFFFD"_qs;
        QTest::newRow("long") << QByteArray(5000, 'x') << QString(5000, u'x');
    }

    // In a name space where the account database is ours.
    void names()
    {
        QFETCH(const QByteArray, comment);
        QFETCH(const QString, expected);
        const QTemporaryDir directory;
        const QString database = directory.filePath(u"passwd"_qs);
        QVERIFY(write(database, "ann:x:0:0:" + comment + ":/:/bin/sh\n"));
        const auto lines = told(
            u"unshare"_qs, {u"--user"_qs, u"--map-root-user"_qs, u"--mount"_qs, u"sh"_qs, u"-c"_qs,
                            u"mount --bind \"$1\" /etc/passwd && exec \"$0\" --tell"_qs,
                            QCoreApplication::applicationFilePath(), database});
        if (lines.size() < 6) {
            QSKIP("name spaces are not allowed here");
        }
        QCOMPARE(lines[4], u"ann"_qs);
        QCOMPARE(lines[5], expected);
    }
};

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], "--tell") == 0) {
        return tell();
    }
    const QCoreApplication application(argc, argv);
    TestFiles test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_files.moc"

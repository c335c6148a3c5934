#include "WriteFile.h"
#include "platform/accounts/Account.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/files/PropertyList.h"
#include "platform/files/RegularFile.h"
#include "platform/files/SessionLock.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Values = std::optional<QVariantMap>;

// As the agent writes the settings: the shell drops the quotes of the head.
QByteArray settings(const QByteArray& sessionCode)
{
    return "<?xml version=1.0 encoding=UTF-8?>\n"
           "<!DOCTYPE plist PUBLIC -//Apple//DTD PLIST 1.0//EN "
           "http://www.apple.com/DTDs/PropertyList-1.0.dtd>\n"
           "<plist version=1.0>\n<dict><key>managed</key><true/><key>sessionCode</key><string>" +
           sessionCode + "</string></dict></plist>\n";
}

} // namespace

class TestFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void propertyLists()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"list.plist"_s);
        const auto check = [&](const char* name, const QByteArray& bytes,
                               const Values& expected = std::nullopt) {
            QVERIFY2(writeFile(path, bytes) && PropertyList::readDictionary(path) == expected,
                     name);
        };
        const QByteArray good = settings("123456");
        // {"k": "v"}; more of the kind are in fuzz/corpus/files.
        const QByteArray binary =
            "bplist00" +
            QByteArray::fromHex("d100010002516b5176000000080000000d0000000f000000000000040200000000"
                                "0000000300000000000000000000000000000011");
        const QVariantMap stored = {{u"managed"_s, true}, {u"sessionCode"_s, u"123456"_s}};
        constexpr qsizetype kMebibyte = 1024 * 1024;
        check("the settings, whose head has no quotes", good, stored);
        check("binary", binary, QVariantMap{{u"k"_s, u"v"_s}});
        check("a negative number", "<plist><dict><key>k</key><integer>-5</integer></dict></plist>",
              QVariantMap{{u"k"_s, -5LL}});
        check("the largest", good.leftJustified(kMebibyte, ' '), stored);
        check("too large", good.leftJustified(kMebibyte + 1, ' '));
        check("an unescaped <", settings("a<b"));
        check("another root", "<plist><array><true/></array></plist>");
        check("truncated", good.left(200));
        check("empty", "");
        check("too deep", "<plist><dict><key>k</key>" + QByteArray("<array>").repeated(60'000) +
                              QByteArray("</array>").repeated(60'000) + "</dict></plist>");
        check("truncated, binary", binary.chopped(1));
    }

    void onlyRegularFilesAreRead()
    {
        using RegularFile::State;
        const QTemporaryDir directory;
        const QString pipe = directory.filePath(u"pipe"_s);
        const QString link = directory.filePath(u"link"_s);
        QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        QVERIFY(QFile::link(u"/missing"_s, link));
        const QStringList missing = {u"/missing"_s, link};
        for (const QString& path : missing + QStringList{pipe, directory.path(), u"/dev/zero"_s}) {
            const auto expected = missing.contains(path) ? State::Missing : State::Unreadable;
            QVERIFY2(RegularFile::read(path, 100).state == expected, qPrintable(path));
        }
    }

    // Others can make names in /tmp, and hold a lock on each file that they can open.
    void locksThatOthersCanHold()
    {
        const QTemporaryDir folder;
        const QString name = u"vantory-test-%1"_s.arg(QCoreApplication::applicationPid());
        const QByteArray path = "/tmp/" + QByteArray::number(::geteuid()) + '-' + name.toLatin1();
        const auto removed = qScopeGuard([&] {
            ::unlink(path + '2');
            ::unlink(path);
        });
        const auto take = [&] { return SessionLock().take(name); };
        const auto isUsed = [&] {
            return take() == SessionLock::Result::Busy && SessionLock::isTaken(name);
        };
        const auto isRefused = [&] {
            return take() == SessionLock::Result::Failed && !SessionLock::isTaken(name);
        };

        qputenv("XDG_RUNTIME_DIR", "/dev/null");
        QCOMPARE(take(), SessionLock::Result::Taken);
        const int file = ::open(path, O_RDONLY | O_CLOEXEC);
        struct flock lock = {};
        lock.l_type = F_RDLCK;
        QVERIFY(::fcntl(file, F_OFD_SETLK, &lock) == 0 && isUsed());
        for (const mode_t mode : {0602U, 0620U, 0604U}) {
            QVERIFY(::fchmod(file, mode) == 0 && isRefused());
        }
        QVERIFY(::fchmod(file, 0600) == 0 && ::link(path, path + '2') == 0 && isRefused());
        ::unlink(path + '2');

        // A directory that others may write to is not used, either.
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
        QCOMPARE(take(), SessionLock::Result::Taken);
        QVERIFY(::chmod(QFile::encodeName(folder.path()), 0777) == 0 && isUsed());
        ::close(file);
    }

    void languages()
    {
        const std::pair<QByteArrayList, QString> expectations[] = {
            {{"", "", "", ""}, u"C"_s}, // LANGUAGE, LC_ALL, LC_MESSAGES, LANG
            {{"", "", "it_IT@euro", "de_DE.UTF-8"}, u"it_IT"_s},
            {{"", "fr_FR", "it_IT", "de_DE"}, u"fr_FR"_s},
            {{"ko:en_US.UTF-8:ko", "de_DE.UTF-8@euro", "", ""}, u"ko en_US de_DE"_s},
            {{QByteArray(9000, ':'), "", "", ".UTF-8"}, u"C"_s},
        };
        for (const auto& [variables, expected] : expectations) {
            qputenv("LANGUAGE", variables[0]);
            qputenv("LC_ALL", variables[1]);
            qputenv("LC_MESSAGES", variables[2]);
            qputenv("LANG", variables[3]);
            QCOMPARE(preferredLanguages().join(u' '), expected);
        }
    }

    // In a child, whose account database is the test's.
    void accounts()
    {
        const QTemporaryDir directory;
        const QString database = directory.filePath(u"passwd"_s);
        const std::pair<QByteArray, QString> names[] = {
            {"& Bell,Room 3,,", u"Ann Bell"_s},
            {",Room 3", u"ann"_s},
            {"Zo\xEB", u"Zo\uFFFD"_s},
            {QByteArray(5000, 'x'), QString(5000, u'x')},
        };
        for (const auto& [comment, name] : names) {
            QVERIFY(writeFile(database, "ann:x:0:0:" + comment + ":/:/bin/sh\n"));
            QProcess process;
            process.start(u"unshare"_s,
                          {u"--user"_s, u"--map-root-user"_s, u"--mount"_s, u"sh"_s, u"-c"_s,
                           u"mount --bind \"$1\" /etc/passwd && exec \"$0\" --tell"_s,
                           QCoreApplication::applicationFilePath(), database});
            QVERIFY(process.waitForFinished());
            if (process.exitCode() != 0) {
                QSKIP("name spaces are not allowed here");
            }
            QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()), u"ann: "_s + name);
        }
    }
};

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], "--tell") == 0) {
        QTextStream(stdout) << Account::loginName() << ": " << Account::fullName();
        return 0;
    }
    const QCoreApplication application(argc, argv);
    TestFiles test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_files.moc"

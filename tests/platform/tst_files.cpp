#include "WriteFile.h"
#include "platform/files/PropertyList.h"
#include "platform/files/RegularFile.h"
#include "platform/files/SessionLock.h"

#include <QCoreApplication>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class TestFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // The settings as the agent writes them, where the shell drops the quotes of the head.
    void propertyLists()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"list.plist"_s);
        const auto read = [&path](const QByteArray& bytes) {
            return writeFile(path, bytes) ? PropertyList::readDictionary(path) : std::nullopt;
        };
        QVERIFY(
            !read(QByteArray("<plist><dict></dict></plist>").leftJustified(1024 * 1024 + 1, ' ')));
        QVERIFY(!read("<plist><dict><key>k</key>" + QByteArray("<array>").repeated(60'000) +
                      QByteArray("</array>").repeated(60'000) + "</dict></plist>"));
        QCOMPARE(read("<?xml version=1.0 encoding=UTF-8?>\n<plist version=1.0>\n<dict>"
                      "<key>managed</key><true/></dict></plist>\n"),
                 (QVariantMap{{u"managed"_s, true}}));
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
};

QTEST_GUILESS_MAIN(TestFiles)
#include "tst_files.moc"

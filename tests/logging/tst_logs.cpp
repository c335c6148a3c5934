#include "WriteFile.h"
#include "logging/Logs.h"
#include "platform/files/SharedLogFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <functional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString kTime = uR"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} )"_s;

QString content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : u"(no file)"_s;
}

} // namespace

// The two log files, and what reaches the system's journal.
class TestLogs : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_root;
    QString m_ordinary;
    QString m_errors;

private Q_SLOTS:
    void init()
    {
        m_root = std::make_unique<QTemporaryDir>();
        qputenv("VANTORY_ROOT", QFile::encodeName(m_root->path()));
        const QString logs = m_root->filePath(u"var/lib/Halvern/vantoryAgent/logs"_s);
        QVERIFY(QDir().mkpath(logs));
        m_ordinary = logs + u"/vantoryAgent.stdout"_s;
        m_errors = logs + u"/vantoryAgent.stderr"_s;
        printLog(u"lost, for no line makes a file"_s);
        const mode_t mask = ::umask(077);
        LogDestination().cleanUp();
        LogErrorDestination().cleanUp();
        ::umask(mask);
    }

    void linesBeginWithTheTime()
    {
        printLog(u"one\n2026-11-25 14:05:09.042 two\r\x1b[2J\x7f\u009b\u2028\u202e\u2069\tend"_s);
        printErrorLog(u"größer"_s);
        const QString first = uR"(one
	2026-11-25 14:05:09.042 two\x0d\x1b[2J\x7f\x9b\u2028\u202e\u2069	end)"_s;
        const QRegularExpression lines(
            u"\\A%1%2\n%1größer\n\\z"_s.arg(kTime, QRegularExpression::escape(first)));
        const QString text = content(m_ordinary) + content(m_errors);
        QVERIFY2(lines.match(text).hasMatch(), qPrintable(text));
        QVERIFY(QFile::permissions(m_errors).testFlags(QFile::ReadOther | QFile::WriteOther));
    }

    // Others may have put it there. Nobody waits for a pipe's reader.
    void nothingElseIsWrittenTo()
    {
        const QByteArray log = QFile::encodeName(m_ordinary);
        const QString targetPath = m_root->filePath(u"target"_s);
        const QByteArray target = QFile::encodeName(targetPath);
        const std::pair<mode_t, std::function<int()>> kinds[] = {
            {0666, [&] { return ::symlink(target, log); }},
            {0666, [&] { return ::link(target, log); }},
            {0666, [&] { return ::mkfifo(log, 0666); }},
            {0664, [&] { return ::rename(target, log); }}, // another file of the user's
        };
        for (const auto& [mode, make] : kinds) {
            QVERIFY(writeFile(targetPath, "old") && ::chmod(target, mode) == 0);
            QVERIFY(QFile::remove(m_ordinary) && make() == 0);
            LogDestination().cleanUp();
            printLog(u"lost"_s);
            const QString path = QFile::exists(targetPath) ? targetPath : m_ordinary;
            struct stat status = {};
            QCOMPARE(::stat(QFile::encodeName(path), &status), 0);
            QCOMPARE(status.st_mode & 0777, mode);
            QCOMPARE(content(path), u"old"_s);
        }
    }

    void longLogsAreEmptied()
    {
        QVERIFY(QFile::resize(m_ordinary, SharedLogFile::kLimit - 10));
        printLog(u"a line"_s);
        const QStringList lines = content(m_ordinary).split(u'\n');
        QVERIFY2(lines.size() == 3 && lines[1].endsWith(u" a line"), qPrintable(lines.join(u'|')));
        QVERIFY(lines[0].endsWith(u" the log had reached 16 MiB and was emptied"));
    }

    void logsOfLivingAgentsAreFollowed()
    {
        const int other = ::open(QFile::encodeName(m_ordinary), O_RDONLY);
        QVERIFY(::flock(other, LOCK_EX | LOCK_NB) != 0); // this one lives, too
        QVERIFY(::flock(other, LOCK_SH | LOCK_NB) == 0);
        printLog(u"a line"_s);
        LogDestination().cleanUp();
        QVERIFY(content(m_ordinary).endsWith(u" a line\n"));
        ::close(other);
        LogDestination().cleanUp();
        QCOMPARE(content(m_ordinary), QString());
    }

    // Written to, but neither emptied nor filled without end.
    void logsOfOtherAccounts()
    {
        if (::chown(QFile::encodeName(m_ordinary), 65534, 65534) != 0) {
            QSKIP("only root can give a file to another account");
        }
        printLog(u"a line"_s);
        LogDestination().cleanUp();
        QVERIFY(content(m_ordinary).endsWith(u" a line\n"));
        QVERIFY(QFile::resize(m_ordinary, SharedLogFile::kLimit));
        printLog(u"lost"_s);
        QCOMPARE(QFileInfo(m_ordinary).size(), SharedLogFile::kLimit);
    }

    void errorsReachTheJournal()
    {
        QVERIFY(QDir(m_root->path()).mkpath(u"run/systemd/journal"_s));
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(m_root->path()) + "/run/systemd/journal/socket";
        std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
        const int journal = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        QCOMPARE(::bind(journal, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        printLog(u"not there"_s);
        printErrorLog(u"größer\nPRIORITY=0\x1b"_s);
        QByteArray entry(65536, '\0');
        entry.truncate(::recv(journal, entry.data(), size_t(entry.size()), 0));
        QCOMPARE(entry, "MESSAGE\n" + QByteArray::fromHex("1700000000000000") +
                            "größer\nPRIORITY=0\\x1b\nPRIORITY=3\n"
                            "SYSLOG_IDENTIFIER=vantoryAgent\n");
        // One that takes no more holds up nobody, and costs no line of the file.
        for (int i = 0; i < 2000; ++i) {
            printErrorLog(u"busy"_s);
        }
        QCOMPARE(content(m_errors).count(u"busy\n"_s), 2000);
        ::close(journal);
    }
};

QTEST_GUILESS_MAIN(TestLogs)
#include "tst_logs.moc"

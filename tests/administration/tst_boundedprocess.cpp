#include <csignal>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/processes/BoundedProcess.h"

using namespace Qt::StringLiterals;

using std::chrono::milliseconds;

// Real shells under the conditions that the administration starts them in.
class TestBoundedProcess : public QObject {
    Q_OBJECT

private:
    static ChildProcess::Result bash(const QString& line, const QByteArray& input = {},
                                     milliseconds limit = milliseconds(20'000))
    {
        return BoundedProcess::run(u"/bin/bash"_s, {u"-c"_s, line}, input, limit);
    }

    QTemporaryDir m_directory;

private Q_SLOTS:
    void tellsTheStatusAndPassesTheInput()
    {
        QCOMPARE(bash(u"exit 7"_s).status.value_or(-1), 7);
        QCOMPARE(bash(u"kill -TERM $$"_s).status.value_or(-1), SIGTERM);
        const QString reads = u"IFS= read -r x; [ \"$x\" = ' ä\"$ ' ] && ! read -r y"_s;
        QCOMPARE(bash(reads, " ä\"$ \n").status.value_or(-1), 0);
        QVERIFY(!bash(u":"_s, QByteArray(200'000, 'x')).status); // more than a pipe holds
    }

    void startsCleanFromAnUncleanProcess()
    {
        const mode_t old = ::umask(0);
        ::signal(SIGPIPE, SIG_IGN);
        const int leak = ::open("/dev/zero", O_RDONLY);
        const QString file = m_directory.filePath(u"made"_s);
        const QString line =
            u"set -e; : > '%1'; ! { : < /dev/tty; } 2>/dev/null; ! ls -l /proc/$$/fd | grep zero; "
            "grep -qE \"^SigIgn:\\s0+$\" /proc/self/status"_s;
        const auto result = bash(line.arg(file));
        ::close(leak);
        ::signal(SIGPIPE, SIG_DFL);
        ::umask(old);
        QCOMPARE(result.status.value_or(-1), 0);
        struct stat made = {};
        QCOMPARE(::stat(QFile::encodeName(file), &made), 0);
        QCOMPARE(made.st_mode & 07777, mode_t(0644));
    }

    void endsAtTheLimit()
    {
        const QString file = m_directory.filePath(u"late"_s);
        const QString line = u"trap '' TERM; (sleep 1; : > '%1') & sleep 60"_s;
        QElapsedTimer clock;
        clock.start();
        const auto result = bash(line.arg(file), {}, milliseconds(200));
        QVERIFY(!result.status && !result.error.isEmpty());
        QVERIFY(clock.elapsed() < 5'000);
        QTest::qWait(1'300);
        QVERIFY(!QFileInfo::exists(file)); // what it had started went with it
    }
};

QTEST_GUILESS_MAIN(TestBoundedProcess)
#include "tst_boundedprocess.moc"

#include "platform/processes/ChildProcess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString kShell = u"/bin/sh"_s;

// Whether this process has a child, running or not reaped.
bool hasChildren()
{
    siginfo_t info = {};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

} // namespace

class TestChildProcess : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_directory;
    const QString m_file = m_directory.filePath(u"file"_s);

private Q_SLOTS:
    // The agent's own parent may have left it with things closed, ignored and blocked.
    void aChildInheritsNothing()
    {
        sigset_t mask;
        sigset_t before;
        sigfillset(&mask);
        ::pthread_sigmask(SIG_BLOCK, &mask, &before);
        ::signal(SIGINT, SIG_IGN);
        const int input = ::dup(STDIN_FILENO);
        ::close(STDIN_FILENO);
        const QString script =
            u"find /proc/$$/fd -fprintf '%1' '%l '; "
            "exec grep -E '^(NS[ps]id|SigBlk|SigIgn)' /proc/self/status >> '%1'"_s;
        static_cast<void>(ChildProcess::run(kShell, {u"-c"_s, script.arg(m_file)}, {.input = "x"}));
        ::dup2(input, STDIN_FILENO);
        ::close(input);
        ::signal(SIGINT, SIG_DFL);
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);

        QFile file(m_file);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString report = QString::fromUtf8(file.readAll().simplified());
        // Two signals are the C library's own.
        const QRegularExpression expected(
            u"\\Apipe:\\S+ /dev/null /dev/null NSpid: (.+) NSsid: \\1 "
            "SigBlk: 0{16} SigIgn: 0{7}[01][08]0{7}\\z"_s);
        QVERIFY2(expected.match(report).hasMatch(), qPrintable(report));
    }

    void endsAtTheLimitWithAllThatItStarted()
    {
        const QByteArray path = QFile::encodeName(m_directory.filePath(u"pipe"_s));
        QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        const int pipe = ::open(path.constData(), O_RDONLY | O_NONBLOCK);
        const QString script = u"trap '' TERM; exec 3> '%1'; echo >&3; sleep 60 & sleep 60"_s;
        QElapsedTimer clock;
        clock.start();
        const auto result = ChildProcess::run(
            kShell, {u"-c"_s, script.arg(QFile::decodeName(path))}, {.limit = 500ms});
        QVERIFY(clock.elapsed() < 5'000);
        QCOMPARE(result.error, u"Connection timed out"_s);
        QVERIFY(!result.status && !hasChildren());
        char byte = 0;
        QCOMPARE(::read(pipe, &byte, 1), 1);
        QTRY_COMPARE(::read(pipe, &byte, 1), 0); // nobody holds the other end any more
        ::close(pipe);
    }
};

QTEST_GUILESS_MAIN(TestChildProcess)
#include "tst_childprocess.moc"

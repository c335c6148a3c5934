#include "platform/processes/ChildProcess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
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

// By the kernel's call: the C library refuses the two signals that it uses itself.
void setAction(int signal, std::uintptr_t handler)
{
    const std::array<std::uintptr_t, 8> action = {handler};
    ::syscall(SYS_rt_sigaction, signal, action.data(), nullptr, 8);
}

} // namespace

class TestChildProcess : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_directory;
    const QString m_file = m_directory.filePath(u"file"_s);

private Q_SLOTS:
    void statusOrError_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<int>("status"); // -1: none
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const QString& script, const QByteArray& input,
                            int status, const QString& error = {}) {
            QTest::newRow(name) << script << input << status << error;
        };
        row("a status of its own", u"exit 3"_s, {}, 3);
        row("dies of a signal", u"kill -TERM $$"_s, {}, 15);
        row("a broken pipe inside", u"sh -c 'kill -PIPE $$'"_s, {}, 141);
        row("arguments whole", u"test \"$0\" = 'a  \"b\" é'"_s, {}, 0);
        row("waits for input", u"cat; exit 4"_s, {}, 4);
        row("input", u"IFS= read -r x; [ \"$x\" = ' ä\"$ ' ] && ! read -r y"_s, " ä\"$ \n", 0);
        row("much output", u"head -c 3000000 /dev/zero; head -c 3000000 /dev/zero >&2"_s, {}, 0);
        row("a zero character", QString(QChar(u'\0')), {}, -1, u"Invalid argument"_s);
        row("more than a pipe", u":"_s, QByteArray(200'000, 'x'), -1, u"Message too long"_s);
    }

    void statusOrError()
    {
        QFETCH(const QString, script);
        QFETCH(const QByteArray, input);
        const QStringList arguments = {u"-c"_s, script, u"a  \"b\" é"_s};
        for (const auto limit : {std::optional<std::chrono::seconds>(), std::optional(20s)}) {
            const auto result = ChildProcess::run(kShell, arguments, {input, limit});
            QTEST(result.status.value_or(-1), "status");
            QTEST(result.error, "error");
            QVERIFY(!hasChildren());
        }
    }

    // The agent's own parent may have left it with things closed, ignored and blocked.
    void aChildInheritsNothing()
    {
        constexpr int kIgnored[] = {SIGPIPE, SIGINT, SIGCHLD, 32, 33};
        sigset_t mask;
        sigset_t before;
        sigfillset(&mask);
        ::pthread_sigmask(SIG_BLOCK, &mask, &before);
        for (const int signal : kIgnored) {
            setAction(signal, 1); // ignore
        }
        const mode_t oldMask = ::umask(0);
        const int input = ::dup(STDIN_FILENO);
        ::close(STDIN_FILENO);

        const QString script =
            u"find /proc/$$/fd -fprintf '%1' '%l '; "
            "exec grep -E '^(Umask|NS[ps]id|SigBlk|SigIgn)' /proc/self/status >> '%1'"_s;
        QStringList reports;
        for (const auto& options :
             {ChildProcess::Options(), ChildProcess::Options{"x", 20s, 022}}) {
            static_cast<void>(ChildProcess::run(kShell, {u"-c"_s, script.arg(m_file)}, options));
            QFile report(m_file);
            reports += report.open(QIODevice::ReadOnly)
                           ? QString::fromUtf8(report.readAll().simplified())
                           : QString();
        }

        ::dup2(input, STDIN_FILENO);
        ::close(input);
        ::umask(oldMask);
        for (const int signal : kIgnored) {
            setAction(signal, 0); // default
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);

        const QString expected = u"\\A%1 /dev/null /dev/null Umask: %2 NSpid: (.+) NSsid: \\1 "
                                 "SigBlk: 0{16} SigIgn: 0{16}\\z"_s;
        const QRegularExpression bare(expected.arg(u"/dev/null"_s, u"0000"_s));
        const QRegularExpression withOptions(expected.arg(u"pipe:\\S+"_s, u"0022"_s));
        QVERIFY2(bare.match(reports[0]).hasMatch(), qPrintable(reports[0]));
        QVERIFY2(withOptions.match(reports[1]).hasMatch(), qPrintable(reports[1]));
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

    void startedChildrenLeaveNothingBehind()
    {
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        QCOMPARE(ChildProcess::start(kShell, {u"-c"_s, u"exit 1"_s}), std::nullopt);
        QTRY_VERIFY(!hasChildren());
        const QString missing = u"/nowhere/program"_s;
        QCOMPARE(ChildProcess::start(missing, {}), u"No such file or directory"_s);
        QCOMPARE(ChildProcess::run(missing, {}).error, u"No such file or directory"_s);
        QVERIFY(!hasChildren());
        QCOMPARE(::fcntl(next, F_GETFD), -1);
    }
};

QTEST_GUILESS_MAIN(TestChildProcess)
#include "tst_childprocess.moc"

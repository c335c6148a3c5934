#include "platform/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <iterator>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr auto kReport = "--report";

// The child's part: writes what it was born with, a line each, into the file.
int report(const char* path)
{
    QByteArray lines = "descriptors";
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            lines +=
                ' ' + QByteArray::number(descriptor) + '=' +
                QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(descriptor)).toUtf8();
        }
    }
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 1;
    }
    const QByteArrayList all = status.readAll().split('\n');
    for (const QByteArray& line : all) {
        if (line.startsWith("SigBlk") || line.startsWith("SigIgn")) {
            lines += '\n' + line.simplified();
        }
    }
    lines += ::getsid(0) == ::getpid() ? "\nown session" : "\nour session";
    char byte = 0;
    lines += ::read(STDIN_FILENO, &byte, 1) == 0 ? "\nempty input\n" : "\ninput\n";
    QFile file(QString::fromUtf8(path));
    return file.open(QIODevice::WriteOnly) && file.write(lines) == lines.size() ? 0 : 1;
}

// Whether any child of this process is left, running or not cleared away.
bool hasChildren()
{
    siginfo_t info = {};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// Makes pidfd_open(2) unknown to this process, for good.
bool forbidProcessDescriptors()
{
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {std::size(rules), rules};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

QStringList script(const char* text)
{
    return {QStringLiteral("-c"), QString::fromUtf8(text), QStringLiteral("&")};
}

const QString kShell = QStringLiteral("/bin/sh");

} // namespace

class TestChildProcess : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statusOrError_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status"); // -1: none
        QTest::addColumn<QString>("error");
        const auto none = QString();
        QTest::newRow("success") << kShell << script("true") << 0 << none;
        QTest::newRow("a status of its own") << kShell << script("exit 3") << 3 << none;
        QTest::newRow("dies of a signal") << kShell << script("kill -TERM $$") << 15 << none;
        QTest::newRow("a broken pipe inside")
            << kShell << script("sh -c 'kill -PIPE $$'") << 141 << none;
        QTest::newRow("arguments whole")
            << kShell
            << QStringList{QStringLiteral("-c"), QStringLiteral("test \"$1\" = 'a  \"b\" é'"),
                           QStringLiteral("&"), QStringLiteral("a  \"b\" é")}
            << 0 << none;
        QTest::newRow("waits for input") << kShell << script("cat; exit 4") << 4 << none;
        QTest::newRow("much output")
            << kShell << script("head -c 3000000 /dev/zero; head -c 3000000 /dev/zero >&2") << 0
            << none;
        QTest::newRow("missing program") << QStringLiteral("/nowhere/program") << QStringList()
                                         << -1 << QStringLiteral("No such file or directory");
        QTest::newRow("not a program")
            << QStringLiteral("/tmp") << QStringList() << -1 << QStringLiteral("Permission denied");
        QTest::newRow("a zero character in an argument")
            << kShell << QStringList{QStringLiteral("-c"), QString(QChar(u'\0'))} << -1
            << QStringLiteral("Invalid argument");
    }

    void statusOrError()
    {
        QFETCH(const QString, program);
        QFETCH(const QStringList, arguments);
        QFETCH(const int, status);
        QFETCH(const QString, error);
        const auto result = ChildProcess::run(program, arguments);
        QCOMPARE(result.status.value_or(-1), status);
        QCOMPARE(result.error, error);
        QVERIFY(!hasChildren());
    }

    void aChildInheritsNothing()
    {
        const QTemporaryDir directory;
        const QString file = directory.filePath(QStringLiteral("report"));

        // An agent that is itself a careless parent's child.
        sigset_t mask;
        sigset_t before;
        sigfillset(&mask);
        ::pthread_sigmask(SIG_BLOCK, &mask, &before);
        for (const int signal : {SIGPIPE, SIGINT, SIGCHLD}) {
            ::signal(signal, SIG_IGN);
        }
        int leaking[2] = {};
        QCOMPARE(::pipe(leaking), 0);

        const auto result = ChildProcess::run(QCoreApplication::applicationFilePath(),
                                              {QString::fromUtf8(kReport), file});

        ::close(leaking[0]);
        ::close(leaking[1]);
        for (const int signal : {SIGPIPE, SIGINT, SIGCHLD}) {
            ::signal(signal, SIG_DFL);
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);

        QCOMPARE(result.error, QString());
        QCOMPARE(result.status, std::optional(0));
        QFile reported(file);
        QVERIFY(reported.open(QIODevice::ReadOnly));
        QCOMPARE(reported.readAll(), QByteArray("descriptors 0=/dev/null 1=/dev/null 2=/dev/null\n"
                                                "SigBlk: 0000000000000000\n"
                                                "SigIgn: 0000000000000000\n"
                                                "own session\n"
                                                "empty input\n"));
    }

    void startedChildrenLeaveNothingBehind_data()
    {
        QTest::addColumn<bool>("hasDescriptors");
        QTest::newRow("told by a descriptor") << true;
        QTest::newRow("on a kernel that has no such descriptors") << false;
    }

    void startedChildrenLeaveNothingBehind()
    {
        QFETCH(const bool, hasDescriptors);
        if (!hasDescriptors && !forbidProcessDescriptors()) {
            QSKIP("system calls can't be filtered here");
        }
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        QCOMPARE(ChildProcess::start(kShell, script("exit 1")), std::nullopt);
        QVERIFY(hasChildren());
        QCOMPARE(::fcntl(next, F_GETFD) >= 0, hasDescriptors);
        QTRY_VERIFY(!hasChildren());
        QCOMPARE(::fcntl(next, F_GETFD), -1);
    }

    void startTellsWhatFailed()
    {
        QCOMPARE(ChildProcess::start(QStringLiteral("/nowhere/program"), {}),
                 std::optional(QStringLiteral("No such file or directory")));
    }
};

int main(int argc, char** argv)
{
    if (argc == 3 && qstrcmp(argv[1], kReport) == 0) {
        return report(argv[2]);
    }
    const QCoreApplication application(argc, argv);
    TestChildProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_childprocess.moc"

#include "platform/processes/ChildProcess.h"

#include <csignal>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr auto kReport = "--report";

// The child's part: writes what it was born with, a line each, into the file.
int report(const char* path)
{
    QByteArray lines = "descriptors";
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            const auto link = u"/proc/self/fd/%1"_s.arg(descriptor);
            lines += ' ' + QFile::symLinkTarget(link).toUtf8();
        }
    }
    QFile status(u"/proc/self/status"_s);
    QFile file(QString::fromUtf8(path));
    if (!status.open(QIODevice::ReadOnly) || !file.open(QIODevice::WriteOnly)) {
        return 1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("SigBlk") || line.startsWith("SigIgn")) {
            lines += '\n' + line.simplified();
        }
    }
    lines += ::getsid(0) == ::getpid() ? "\nown session\n" : "\nour session\n";
    return file.write(lines) == lines.size() ? 0 : 1;
}

// Whether any child of this process is left, running or not cleared away.
bool hasChildren()
{
    siginfo_t info = {};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

const QString kShell = u"/bin/sh"_s;

} // namespace

class TestChildProcess : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statusOrError_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("status"); // -1: none
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const QString& text, int status) {
            QTest::newRow(name) << kShell << text << status << QString();
        };
        row("a status of its own", u"exit 3"_s, 3);
        row("dies of a signal", u"kill -TERM $$"_s, 15);
        row("a broken pipe inside", u"sh -c 'kill -PIPE $$'"_s, 141);
        row("arguments whole", u"test \"$0\" = 'a  \"b\" é'"_s, 0);
        row("waits for input", u"cat; exit 4"_s, 4);
        row("much output", u"head -c 3000000 /dev/zero; head -c 3000000 /dev/zero >&2"_s, 0);
        QTest::newRow("missing program")
            << u"/nowhere/program"_s << QString() << -1 << u"No such file or directory"_s;
        QTest::newRow("a zero character in an argument")
            << kShell << QString(QChar(u'\0')) << -1 << u"Invalid argument"_s;
    }

    void statusOrError()
    {
        QFETCH(const QString, program);
        QFETCH(const QString, script);
        const auto result = ChildProcess::run(program, {u"-c"_s, script, u"a  \"b\" é"_s});
        QTEST(result.status.value_or(-1), "status");
        QTEST(result.error, "error");
        QVERIFY(!hasChildren());
    }

    void aChildInheritsNothing()
    {
        const QTemporaryDir directory;
        const QString file = directory.filePath(u"report"_s);

        // An agent that is itself a careless parent's child.
        constexpr int kIgnored[] = {SIGPIPE, SIGINT, SIGCHLD};
        sigset_t mask;
        sigset_t before;
        sigfillset(&mask);
        ::pthread_sigmask(SIG_BLOCK, &mask, &before);
        for (const int signal : kIgnored) {
            ::signal(signal, SIG_IGN);
        }
        int leaking[2] = {};
        QCOMPARE(::pipe(leaking), 0);
        const auto result = ChildProcess::run(QCoreApplication::applicationFilePath(),
                                              {QString::fromUtf8(kReport), file});
        ::close(leaking[0]);
        ::close(leaking[1]);
        for (const int signal : kIgnored) {
            ::signal(signal, SIG_DFL);
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);

        QCOMPARE(result.status, std::optional(0));
        QFile reported(file);
        QVERIFY(reported.open(QIODevice::ReadOnly));
        QCOMPARE(reported.readAll(), QByteArray("descriptors /dev/null /dev/null /dev/null\n"
                                                "SigBlk: 0000000000000000\n"
                                                "SigIgn: 0000000000000000\n"
                                                "own session\n"));
    }

    void startedChildrenLeaveNothingBehind()
    {
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        QCOMPARE(ChildProcess::start(kShell, {u"-c"_s, u"exit 1"_s}), std::nullopt);
        QTRY_VERIFY(!hasChildren());
        QCOMPARE(::fcntl(next, F_GETFD), -1);
        QVERIFY(ChildProcess::start(u"/nowhere/program"_s, {}));
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

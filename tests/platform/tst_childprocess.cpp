#include "platform/processes/ChildProcess.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
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

constexpr auto kReport = "--report";

// Run in the child: writes the state that it was started with into the file.
int report(const char* path)
{
    QByteArray lines = "descriptors";
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) >= 0) {
            const auto link = u"/proc/self/fd/%1"_s.arg(descriptor);
            lines += ' ' + QFile::symLinkTarget(link).section(u':', 0, 0).toUtf8();
        }
    }
    QFile status(u"/proc/self/status"_s);
    QFile file(QString::fromUtf8(path));
    if (!status.open(QIODevice::ReadOnly) || !file.open(QIODevice::WriteOnly)) {
        return 1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("Umask") || line.startsWith("SigBlk") || line.startsWith("SigIgn")) {
            lines += '\n' + line.simplified();
        }
    }
    lines += ::getsid(0) == ::getpid() ? "\nown session\n" : "\nour session\n";
    return file.write(lines) == lines.size() ? 0 : 1;
}

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

const QString kShell = u"/bin/sh"_s;

} // namespace

class TestChildProcess : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statusOrError_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("script");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<int>("status"); // -1: none
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const QString& script, int status,
                            const QByteArray& input = {}) {
            QTest::newRow(name) << kShell << script << input << status << QString();
        };
        const auto failure = [](const char* name, const QString& program, const QString& script,
                                const QByteArray& input, const QString& error) {
            QTest::newRow(name) << program << script << input << -1 << error;
        };
        row("a status of its own", u"exit 3"_s, 3);
        row("dies of a signal", u"kill -TERM $$"_s, 15);
        row("a broken pipe inside", u"sh -c 'kill -PIPE $$'"_s, 141);
        row("arguments whole", u"test \"$0\" = 'a  \"b\" é'"_s, 0);
        row("waits for input", u"cat; exit 4"_s, 4);
        row("input", u"IFS= read -r x; [ \"$x\" = ' ä\"$ ' ] && ! read -r y"_s, 0, " ä\"$ \n");
        row("much output", u"head -c 3000000 /dev/zero; head -c 3000000 /dev/zero >&2"_s, 0);
        failure("missing program", u"/nowhere/program"_s, {}, {}, u"No such file or directory"_s);
        failure("a zero character in an argument", kShell, QString(QChar(u'\0')), {},
                u"Invalid argument"_s);
        failure("more input than a pipe holds", kShell, u":"_s, QByteArray(200'000, 'x'),
                u"Message too long"_s);
    }

    void statusOrError()
    {
        QFETCH(const QString, program);
        QFETCH(const QString, script);
        QFETCH(const QByteArray, input);
        const QStringList arguments = {u"-c"_s, script, u"a  \"b\" é"_s};
        for (const auto limit : {std::optional<std::chrono::seconds>(), std::optional(20s)}) {
            const auto result =
                ChildProcess::run(program, arguments, {.input = input, .limit = limit});
            QTEST(result.status.value_or(-1), "status");
            QTEST(result.error, "error");
            QVERIFY(!hasChildren());
        }
    }

    // An agent whose own parent left it closed, ignored and blocked things.
    void aChildInheritsNothing()
    {
        const QTemporaryDir directory;
        const QString file = directory.filePath(u"report"_s);
        const QStringList arguments = {QString::fromUtf8(kReport), file};
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

        QByteArrayList reports;
        for (const auto& options :
             {ChildProcess::Options(),
              ChildProcess::Options{.input = "x", .limit = 20s, .umask = 022}}) {
            const auto result =
                ChildProcess::run(QCoreApplication::applicationFilePath(), arguments, options);
            QFile reported(file);
            reports += result.status == 0 && reported.open(QIODevice::ReadOnly) ? reported.readAll()
                                                                                : QByteArray();
        }

        ::dup2(input, STDIN_FILENO);
        ::close(input);
        ::umask(oldMask);
        for (const int signal : kIgnored) {
            setAction(signal, 0); // default
        }
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);

        const QByteArray rest = "SigBlk: 0000000000000000\n"
                                "SigIgn: 0000000000000000\n"
                                "own session\n";
        QCOMPARE(reports[0], "descriptors /dev/null /dev/null /dev/null\nUmask: 0000\n" + rest);
        QCOMPARE(reports[1],
                 "descriptors /proc/self/fd/pipe /dev/null /dev/null\nUmask: 0022\n" + rest);
    }

    void endsAtTheLimitWithAllThatItStarted()
    {
        const QTemporaryDir directory;
        const QByteArray path = QFile::encodeName(directory.filePath(u"pipe"_s));
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

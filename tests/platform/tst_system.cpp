#include "WriteFile.h"
#include "platform/files/Descriptor.h"
#include "platform/files/RegularFile.h"
#include "platform/files/SessionLock.h"
#include "platform/network/TcpPeer.h"
#include "platform/processes/ChildProcess.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
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

// Files, child processes and sockets, as the kernel has them. Sockets of other accounts are in
// tst_connection.
class TestSystem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyRegularFilesAreRead()
    {
        using RegularFile::State;
        const QString pipe = m_directory.filePath(u"unread"_s);
        const QString link = m_directory.filePath(u"link"_s);
        QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        QVERIFY(QFile::link(u"/missing"_s, link));
        const QStringList missing = {u"/missing"_s, link};
        for (const QString& path :
             missing + QStringList{pipe, m_directory.path(), u"/dev/zero"_s}) {
            const auto expected = missing.contains(path) ? State::Missing : State::Unreadable;
            QVERIFY2(RegularFile::read(path, 100).state == expected, qPrintable(path));
        }
        QVERIFY(writeFile(m_file, QByteArray(101, 'a')));
        QCOMPARE(RegularFile::read(m_file, 100).state, State::TooLarge);
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
        const auto result = ChildProcess::run(
            kShell, {u"-c"_s, script.arg(QFile::decodeName(path))}, {.limit = 500ms});
        QCOMPARE(result.error, u"Connection timed out"_s);
        QVERIFY(!result.status && !hasChildren());
        char byte = 0;
        QCOMPARE(::read(pipe, &byte, 1), 1);
        QTRY_COMPARE(::read(pipe, &byte, 1), 0); // nobody holds the other end any more
        ::close(pipe);
    }

    // A socket that had the service's address before the service listened can take a connection
    // past the listener: each end asks for the other one.
    void aConnectionPastTheListenerIsNotItsOwn()
    {
        Descriptor stranger = boundTo(0);
        const quint16 port = portOf(stranger);
        const Descriptor service = boundTo(port);
        QCOMPARE(::listen(service.value(), 0), 0);
        const Descriptor inTheQueue = boundTo(0);
        call(&::connect, inTheQueue, port);
        const Descriptor own = boundTo(0);
        TcpPeer peer([](quint32) -> std::optional<QString> { return {}; });
        call(&::connect, own, port); // waits until the queue is not full
        call(&::connect, stranger, portOf(own));
        QCOMPARE(::send(stranger.value(), "x", 1, 0), 1);
        stranger.close();
        char got = 0;
        QCOMPARE(::recv(own.value(), &got, 1, MSG_PEEK), 1);
        QVERIFY(peer.check(own));
    }

private:
    QTemporaryDir m_directory;
    const QString m_file = m_directory.filePath(u"file"_s);

    // bind(2) or connect(2), of this machine's own address.
    static void call(int (*function)(int, const sockaddr*, socklen_t), const Descriptor& socket,
                     quint16 port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        function(socket.value(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }

    static Descriptor boundTo(quint16 port)
    {
        Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        const int on = 1;
        ::setsockopt(socket.value(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        call(&::bind, socket, port);
        return socket;
    }

    static quint16 portOf(const Descriptor& socket)
    {
        sockaddr_in own = {};
        socklen_t length = sizeof own;
        ::getsockname(socket.value(), reinterpret_cast<sockaddr*>(&own), &length);
        return ntohs(own.sin_port);
    }
};

QTEST_GUILESS_MAIN(TestSystem)
#include "tst_system.moc"

#include "platform/processes/ProcessMemory.h"

#include <QTest>

#include <csignal>
#include <cstdint>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

volatile std::uint64_t secret = 0x5ec7e7;

// Root may do everything.
void becomeOrdinary()
{
    constexpr uid_t kNobody = 65534;
    if (::getuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
        ::_exit(0);
    }
}

// The process that has the secret: like any other, or hidden.
[[noreturn]] void keepSecret(bool isHidden)
{
    becomeOrdinary();
    ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);                 // setuid() has taken it
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY, 0, 0, 0); // where only a parent may trace
    if (isHidden) {
        ProcessMemory::hide();
    }
    ::kill(::getpid(), SIGSTOP); // tells that it is ready
    for (;;) {
        ::pause();
    }
}

// The ways by which another process of the account gets at the secret, one bit each.
int openWays(pid_t target)
{
    int ways = 0;
    std::uint64_t found = 0;
    const iovec here = {&found, sizeof found};
    const iovec there = {const_cast<std::uint64_t*>(&secret), sizeof secret};
    ways |= ::process_vm_readv(target, &here, 1, &there, 1, 0) > 0 ? 1 : 0;
    const QByteArray memory = "/proc/" + QByteArray::number(target) + "/mem";
    ways |= ::open(memory, O_RDONLY) >= 0 ? 2 : 0;
    ways |= ::ptrace(PTRACE_ATTACH, target, nullptr, nullptr) == 0 ? 4 : 0;
    return ways;
}

int waysInto(bool isHidden)
{
    const pid_t target = ::fork();
    if (target == 0) {
        keepSecret(isHidden);
    }
    int status = 0;
    ::waitpid(target, &status, WUNTRACED);
    const pid_t other = ::fork();
    if (other == 0) {
        becomeOrdinary();
        ::_exit(openWays(target));
    }
    ::waitpid(other, &status, 0);
    ::kill(target, SIGKILL);
    ::waitpid(target, nullptr, 0);
    return WEXITSTATUS(status);
}

} // namespace

class TestProcessMemory : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isReadByNobody()
    {
        const int usual = waysInto(false);
        QCOMPARE(waysInto(true), 0);
        if (usual != 7) {
            QSKIP("this system forbids some of it to every process");
        }
    }
};

QTEST_GUILESS_MAIN(TestProcessMemory)
#include "tst_processmemory.moc"

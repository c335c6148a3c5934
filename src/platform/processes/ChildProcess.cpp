#include "platform/processes/ChildProcess.h"

#include "platform/files/SystemError.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBetweenLooks(10);

// The children that end with the program. Each leads a session and a process group, whose ID is its
// PID.
struct Running {
    std::mutex mutex; // guards the rest
    std::vector<pid_t> leaders;
    bool isOver = false;
};

// Never destroyed: other threads may run while the process ends.
Running& running = *new Running;

// The error of a system call.
ChildProcess::Child failure(int error)
{
    return {-1, systemErrorText(error)};
}

// Fills a pipe and returns its end for reading. Nobody reads yet: the bytes fit as a whole or not
// at all (EMSGSIZE).
Descriptor pipeWith(const QByteArray& bytes)
{
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return {};
    }
    Descriptor reading(ends[0]);
    const Descriptor writing(ends[1]);
    if (::write(writing.value(), bytes.constData(), static_cast<std::size_t>(bytes.size())) !=
        bytes.size()) {
        reading.close();
        errno = EMSGSIZE;
    }
    return reading;
}

ChildProcess::Child spawn(const QString& program, const QStringList& arguments,
                          const QByteArray& inputBytes, int inherited)
{
    std::vector<QByteArray> texts = {QFile::encodeName(program)};
    for (const QString& argument : arguments) {
        texts.push_back(argument.toUtf8());
    }
    std::vector<char*> pointers;
    int error = 0;
    for (QByteArray& text : texts) {
        error = text.contains('\0') ? EINVAL : error;
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    const Descriptor input = inputBytes.isEmpty() ? Descriptor() : pipeWith(inputBytes);
    if (!inputBytes.isEmpty() && !input.isOpen()) {
        error = errno;
    }

    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    // The input first: its descriptor may be one of the standard three, where this process was
    // started without them.
    if (input.isOpen()) {
        ::posix_spawn_file_actions_adddup2(&files, input.value(), STDIN_FILENO);
    } else {
        ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    ::posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_adddup2(&files, STDOUT_FILENO, STDERR_FILENO);
    int last = STDERR_FILENO;
    if (inherited >= 0) {
        ::posix_spawn_file_actions_adddup2(&files, inherited, ++last);
    }
    ::posix_spawn_file_actions_addclosefrom_np(&files, last + 1);

    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes,
                               POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    sigset_t signals;
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes, &signals);

    ChildProcess::Child child;
    if (error == 0) {
        error =
            ::posix_spawn(&child.pid, pointers[0], &files, &attributes, pointers.data(), environ);
    }
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return error == 0 ? child : failure(error);
}

// Waits for the child's end; with WNOHANG it does not wait, and with WNOWAIT the child is not
// reaped. Returns zero, or an errno value.
int await(pid_t child, siginfo_t& info, int flags)
{
    while (::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | flags) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

// Whether the child has ended; it is not reaped.
bool hasEnded(pid_t child)
{
    siginfo_t info = {};
    return await(child, info, WNOHANG | WNOWAIT) != 0 || info.si_pid == child;
}

bool endsBefore(pid_t child, Clock::time_point moment)
{
    while (!hasEnded(child)) {
        if (Clock::now() >= moment) {
            return false;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return true;
}

// Sends the signal to a leader's process group, or asks only whether there is one (0). Where the
// group is gone the leader is taken from the list: its PID may become another's.
void signalGroups(std::vector<pid_t>& leaders, int signal)
{
    std::erase_if(
        leaders, [signal](pid_t leader) { return ::kill(-leader, signal) != 0 && errno == ESRCH; });
}

void awaitGroups(std::vector<pid_t>& leaders, Clock::time_point end)
{
    for (signalGroups(leaders, 0); !leaders.empty() && Clock::now() < end;
         signalGroups(leaders, 0)) {
        std::this_thread::sleep_for(kBetweenLooks);
    }
}

} // namespace

ChildProcess::Child ChildProcess::start(const QString& program, const QStringList& arguments,
                                        const Options& options)
{
    std::unique_lock<std::mutex> lock;
    if (options.endsWithProgram) {
        lock = std::unique_lock(running.mutex);
        if (running.isOver) {
            return failure(ECANCELED);
        }
    }
    Child child = spawn(program, arguments, options.input, options.inherited);
    if (lock && !child.error) {
        running.leaders.push_back(child.pid);
    }
    child.limit = options.limit;
    return child;
}

Descriptor ChildProcess::endOf(const Child& child)
{
    // pidfd_open(2). The C library declares its function for C only.
    return Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, child.pid, 0)));
}

ChildProcess::Result ChildProcess::wait(const Child& child)
{
    constexpr std::chrono::seconds kForDying(2);
    if (child.error) {
        return {std::nullopt, *child.error};
    }
    int error = 0;
    if (child.limit && !endsBefore(child.pid, Clock::now() + *child.limit)) {
        error = ETIMEDOUT;
        ::kill(-child.pid, SIGKILL);
        // One that has become another account's can't be killed and goes on.
        if (!endsBefore(child.pid, Clock::now() + kForDying)) {
            return {std::nullopt, systemErrorText(error)};
        }
    }
    siginfo_t info = {};
    await(child.pid, info, WNOWAIT);
    {
        const std::lock_guard lock(running.mutex);
        std::erase(running.leaders, child.pid);
    }
    if (const int reaping = await(child.pid, info, 0); error == 0) {
        error = reaping; // somebody else has taken the status
    }
    if (error != 0) {
        return {std::nullopt, systemErrorText(error)};
    }
    return {.status = info.si_status, .isSignal = info.si_code != CLD_EXITED};
}

ChildProcess::Result ChildProcess::run(const QString& program, const QStringList& arguments,
                                       const Options& options)
{
    return wait(start(program, arguments, options));
}

void ChildProcess::endRunning(std::chrono::milliseconds grace)
{
    constexpr std::chrono::milliseconds kForKilling(200);
    const auto end = Clock::now() + grace;
    std::vector<pid_t> leaders;
    {
        // A shell that can't even be loaded (its file system hangs) must not hold up the end. The
        // thread sanitizer does not know a timed mutex by this clock.
        std::unique_lock lock(running.mutex, std::defer_lock);
        while (!lock.try_lock()) {
            if (Clock::now() >= end) {
                return;
            }
            std::this_thread::sleep_for(kBetweenLooks);
        }
        running.isOver = true;
        leaders = running.leaders;
    }
    std::erase_if(leaders, &hasEnded); // what it has left in the background goes on
    signalGroups(leaders, SIGTERM);
    signalGroups(leaders, SIGCONT); // a stopped one hears it only then
    awaitGroups(leaders, end);
    signalGroups(leaders, SIGKILL); // another account's (of sudo, say) can't be killed
    awaitGroups(leaders, Clock::now() + kForKilling);
}

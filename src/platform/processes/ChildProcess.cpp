#include "platform/processes/ChildProcess.h"

#include "platform/files/Descriptor.h"
#include "platform/files/SystemError.h"
#include "platform/processes/RunningSessions.h"

#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QThread>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Child {
    pid_t pid = -1;
    int error = 0; // an errno value where it could not be started
};

// Not one of the standard three, which the child replaces: this process may have been started
// without them.
Descriptor aboveStandard(Descriptor descriptor)
{
    const bool isStandard = descriptor.isOpen() && descriptor.value() <= STDERR_FILENO;
    return isStandard ? Descriptor(::fcntl(descriptor.value(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
                      : std::move(descriptor);
}

struct Pipe {
    Descriptor reading;
    Descriptor writing;

    bool open()
    {
        std::array<int, 2> ends = {-1, -1};
        [[maybe_unused]] const int result = ::pipe2(ends.data(), O_CLOEXEC);
        reading = aboveStandard(Descriptor(ends[0]));
        writing = aboveStandard(Descriptor(ends[1]));
        return reading.isOpen() && writing.isOpen();
    }
};

// The program and its arguments as the system takes them.
class Arguments {
public:
    Arguments(const QString& program, const QStringList& arguments)
    {
        m_texts.push_back(QFile::encodeName(program));
        for (const QString& argument : arguments) {
            m_texts.push_back(argument.toUtf8());
        }
        for (QByteArray& text : m_texts) {
            m_pointers.push_back(text.data());
        }
        m_pointers.push_back(nullptr);
    }
    [[nodiscard]] bool holdZero() const
    {
        return std::any_of(m_texts.cbegin(), m_texts.cend(),
                           [](const QByteArray& text) { return text.contains('\0'); });
    }
    [[nodiscard]] char* const* pointers() const { return m_pointers.data(); }

private:
    std::vector<QByteArray> m_texts;
    std::vector<char*> m_pointers;
};

// The kernel's calls and not the C library's, which leave out two signals that it uses itself.
using SignalMask = std::uint64_t;

SignalMask setSignalMask(SignalMask mask)
{
    SignalMask before = 0;
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &mask, &before, sizeof mask);
    return before;
}

void setDefaultActions()
{
    constexpr int kLastSignal = 64;
    const std::array<std::uint64_t, 8> defaultAction = {}; // more than the kernel's structure
    for (int signal = 1; signal <= kLastSignal; ++signal) {
        ::syscall(SYS_rt_sigaction, signal, defaultAction.data(), nullptr, sizeof(SignalMask));
    }
}

// What the child needs; all is made before it exists.
struct Preparation {
    char* const* arguments = nullptr;
    int input = -1;
    int output = -1;
    int failure = -1; // where an errno value is written when the program can't be started
    std::optional<unsigned int> umask;
};

// Runs in the child, in the parent's memory and while other threads may hold any lock: system calls
// only.
[[noreturn]] void becomeProgram(const Preparation& preparation)
{
    ::setsid();
    if (preparation.umask) {
        ::umask(*preparation.umask);
    }
    setDefaultActions();
    setSignalMask(0);
    if (::dup2(preparation.input, STDIN_FILENO) >= 0 &&
        ::dup2(preparation.output, STDOUT_FILENO) >= 0 &&
        ::dup2(preparation.output, STDERR_FILENO) >= 0 &&
        ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0) {
        ::execv(preparation.arguments[0], preparation.arguments);
    }
    const int error = errno;
    [[maybe_unused]] const auto written = ::write(preparation.failure, &error, sizeof error);
    ::_exit(127);
}

// vfork() copies no memory, so it costs the same however large this process is. Signals are blocked
// meanwhile: a handler of ours that ran in the child would change our memory.
[[gnu::noinline]] pid_t makeChild(const Preparation& preparation)
{
    const SignalMask mask = setSignalMask(~SignalMask(0));
    const pid_t child = ::vfork();
    if (child == 0) {
        // NOLINTNEXTLINE(clang-analyzer-unix.Vfork): makes system calls only
        becomeProgram(preparation);
    }
    const int error = errno;
    setSignalMask(mask);
    errno = error;
    return child;
}

// A program that was started with SIGCHLD ignored inherits that; the system then reaps its children
// by itself, and no status ever comes.
void expectStatuses()
{
    struct sigaction action = {};
    ::sigaction(SIGCHLD, nullptr, &action);
    if ((action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN) {
        action = {};
        action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, nullptr);
    }
}

// Reaps the child, once it has ended.
ChildProcess::Result reap(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return {std::nullopt, systemErrorText(errno)}; // somebody else has taken the status
        }
    }
    if (WIFSIGNALED(status)) {
        return {.status = WTERMSIG(status), .isSignal = true};
    }
    return {.status = WEXITSTATUS(status)};
}

// Returns the number of bytes, as read(2).
ssize_t readWhole(int descriptor, void* target, std::size_t size)
{
    ssize_t length = 0;
    do {
        length = ::read(descriptor, target, size);
    } while (length < 0 && errno == EINTR);
    return length;
}

Child spawn(const QString& program, const QStringList& arguments,
            const ChildProcess::Options& options)
{
    const Arguments texts(program, arguments);
    if (texts.holdZero()) {
        return {-1, EINVAL};
    }
    const Descriptor null = aboveStandard(Descriptor(::open("/dev/null", O_RDWR | O_CLOEXEC)));
    Pipe failure;
    if (!null.isOpen() || !failure.open()) {
        return {-1, errno};
    }
    Pipe input;
    if (!options.input.isEmpty()) {
        if (!input.open()) {
            return {-1, errno};
        }
        // Before there is a reader: it fits as a whole or not at all.
        ::fcntl(input.writing.value(), F_SETFL, O_NONBLOCK);
        if (::write(input.writing.value(), options.input.constData(),
                    static_cast<std::size_t>(options.input.size())) != options.input.size()) {
            return {-1, EMSGSIZE};
        }
    }

    expectStatuses();
    const pid_t child =
        makeChild({texts.pointers(), (input.reading.isOpen() ? input.reading : null).value(),
                   null.value(), failure.writing.value(), options.umask});
    if (child < 0) {
        return {-1, errno};
    }
    failure.writing.close();
    int error = 0;
    // The pipe ends without a byte when the child becomes the program.
    if (readWhole(failure.reading.value(), &error, sizeof error) == sizeof error) {
        reap(child);
        return {-1, error};
    }
    return {child, 0};
}

// A descriptor that becomes readable when the child ends (pidfd_open(2)). The C library declares
// its function for C only.
Descriptor endOf(pid_t child)
{
    return Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
}

// Whether the child ends before the moment; it is not reaped. Without a descriptor that tells it,
// the child is looked at every 20 ms.
bool endsBefore(pid_t child, Clock::time_point moment)
{
    using std::chrono::milliseconds;
    const Descriptor end = endOf(child);
    const milliseconds longest = end.isOpen() ? std::chrono::minutes(1) : milliseconds(20);
    for (;;) {
        siginfo_t info = {};
        if (::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
            info.si_pid == child) {
            return true;
        }
        const auto left = std::chrono::ceil<milliseconds>(moment - Clock::now());
        if (left <= milliseconds(0)) {
            return false;
        }
        pollfd watched = {end.value(), POLLIN, 0};
        ::poll(&watched, 1, static_cast<int>(std::min(left, longest).count()));
    }
}

ChildProcess::Result waitFor(pid_t child, std::chrono::milliseconds limit)
{
    constexpr std::chrono::seconds kForDying(2);
    if (endsBefore(child, Clock::now() + limit)) {
        return reap(child);
    }
    ::kill(-child, SIGKILL);
    // One that has become another account's can't be killed and goes on.
    if (endsBefore(child, Clock::now() + kForDying)) {
        reap(child);
    }
    return {std::nullopt, systemErrorText(ETIMEDOUT)};
}

void reapLater(pid_t child)
{
    QCoreApplication* const application = QCoreApplication::instance();
    Q_ASSERT(application != nullptr && QThread::currentThread() == application->thread());
    const auto end = std::make_shared<Descriptor>(endOf(child));
    if (!end->isOpen()) {
        return; // no descriptor is left: the system reaps the child when the agent ends
    }
    auto* const notifier = new QSocketNotifier(end->value(), QSocketNotifier::Read, application);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, end, child] {
        reap(child);
        notifier->setEnabled(false);
        end->close();
        notifier->deleteLater();
    });
}

} // namespace

ChildProcess::Result ChildProcess::run(const QString& program, const QStringList& arguments,
                                       const Options& options)
{
    Child child;
    const auto start = [&] { return (child = spawn(program, arguments, options)).pid; };
    if (!options.endsWithProgram) {
        start();
    } else if (!RunningSessions::begin(start)) {
        child.error = ECANCELED;
    }
    if (child.error != 0) {
        return {std::nullopt, systemErrorText(child.error)};
    }
    if (options.endsWithProgram) {
        RunningSessions::awaitEnd(child.pid);
    }
    return options.limit ? waitFor(child.pid, *options.limit) : reap(child.pid);
}

void ChildProcess::endRunning(std::chrono::milliseconds grace)
{
    RunningSessions::endAll(grace);
}

std::optional<QString> ChildProcess::start(const QString& program, const QStringList& arguments)
{
    const Child child = spawn(program, arguments, {});
    if (child.error != 0) {
        return systemErrorText(child.error);
    }
    reapLater(child.pid);
    return std::nullopt;
}

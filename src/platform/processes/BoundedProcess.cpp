#include "platform/processes/BoundedProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/processes/SecretText.h"

namespace {

using Clock = std::chrono::steady_clock;

// A descriptor that is closed with its owner. Never one of the standard three: those are the
// child's, also where this process has none of its own.
class Descriptor {
public:
    explicit Descriptor(int value) : m_value(value)
    {
        if (value >= 0 && value <= STDERR_FILENO) {
            m_value = ::fcntl(value, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            ::close(value);
        }
    }
    ~Descriptor() { close(); }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int value() const { return m_value; }
    void close()
    {
        if (m_value >= 0) {
            ::close(std::exchange(m_value, -1));
        }
    }

private:
    int m_value;
};

struct Pipe {
    Pipe() : Pipe(make()) {}
    explicit Pipe(std::array<int, 2> ends) : reading(ends[0]), writing(ends[1]) {}

    [[nodiscard]] bool isOpen() const { return reading.value() >= 0 && writing.value() >= 0; }

    Descriptor reading;
    Descriptor writing;

private:
    static std::array<int, 2> make()
    {
        std::array<int, 2> ends = {-1, -1};
        return ::pipe2(ends.data(), O_CLOEXEC) == 0 ? ends : std::array<int, 2>{-1, -1};
    }
};

// The program's arguments as the system takes them.
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
    ~Arguments()
    {
        for (QByteArray& text : m_texts) {
            SecretText::wipe(text);
        }
    }

    Arguments(const Arguments&) = delete;
    Arguments& operator=(const Arguments&) = delete;

    // Whether the child would get all of each.
    [[nodiscard]] bool areWhole() const
    {
        return std::none_of(m_texts.cbegin(), m_texts.cend(),
                            [](const QByteArray& text) { return text.contains('\0'); });
    }
    [[nodiscard]] char* const* pointers() const { return m_pointers.data(); }

private:
    std::vector<QByteArray> m_texts;
    std::vector<char*> m_pointers;
};

// What the child does between fork() and the program: async-signal-safe calls only, since other
// threads may have held any lock at that moment. (posix_spawn() has no way to set a umask.)
[[noreturn]] void becomeProgram(char* const* arguments, int input, int nothing, int failure)
{
    constexpr int kFailure = STDERR_FILENO + 1;
    ::setsid();
    bool isReady = ::dup2(input, STDIN_FILENO) >= 0 && ::dup2(nothing, STDOUT_FILENO) >= 0 &&
                   ::dup2(nothing, STDERR_FILENO) >= 0;
    isReady = isReady && (failure == kFailure || ::dup3(failure, kFailure, O_CLOEXEC) >= 0);
    isReady = isReady && ::syscall(SYS_close_range, kFailure + 1, ~0U, 0) == 0;
    ::umask(S_IWGRP | S_IWOTH);

    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal) {
        ::sigaction(signal, &action, nullptr); // fails for those that nobody can change
    }
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);

    if (isReady) {
        ::execv(arguments[0], arguments);
    }
    const int error = errno;
    const ssize_t told = ::write(isReady ? kFailure : failure, &error, sizeof error);
    ::_exit(told == sizeof error ? 127 : 126);
}

// A program that was started with SIGCHLD ignored inherits that, and no status would ever come.
void expectStatuses()
{
    struct sigaction action = {};
    ::sigaction(SIGCHLD, nullptr, &action);
    if ((action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN) {
        action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, nullptr);
    }
}

ChildProcess::Result failed(int error)
{
    return {std::nullopt, QString::fromStdString(std::generic_category().message(error))};
}

// Whether the child ends before the moment; its remains stay. Where there can be no descriptor that
// tells it (pidfd_open(2)), it is looked at now and then.
bool endsBefore(pid_t child, Clock::time_point moment)
{
    const Descriptor end(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    for (;;) {
        siginfo_t info = {};
        if (::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
            info.si_pid == child) {
            return true;
        }
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        pollfd watched = {end.value(), POLLIN, 0};
        ::poll(&watched, 1, static_cast<int>(end.value() >= 0 ? left : std::min<long>(left, 20)));
    }
}

ChildProcess::Result result(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return failed(errno);
        }
    }
    return {WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status), {}};
}

ChildProcess::Result waitFor(pid_t child, std::chrono::milliseconds limit)
{
    constexpr std::chrono::seconds kForDying(2);
    if (endsBefore(child, Clock::now() + limit)) {
        return result(child);
    }
    ::kill(-child, SIGKILL);
    // One that has become another account's can't be killed; it is left to itself.
    if (endsBefore(child, Clock::now() + kForDying)) {
        static_cast<void>(result(child));
    }
    return failed(ETIMEDOUT);
}

} // namespace

ChildProcess::Result BoundedProcess::run(const QString& program, const QStringList& arguments,
                                         const QByteArray& input, std::chrono::milliseconds limit)
{
    const Arguments texts(program, arguments);
    if (!texts.areWhole()) {
        return failed(EINVAL);
    }
    const Descriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    Pipe words;
    Pipe failure;
    if (nothing.value() < 0 || !words.isOpen() || !failure.isOpen()) {
        return failed(errno);
    }
    // Into an empty pipe, before there is a reader: it fits as a whole or not at all.
    ::fcntl(words.writing.value(), F_SETFL, O_NONBLOCK);
    if (!input.isEmpty() && ::write(words.writing.value(), input.constData(),
                                    static_cast<std::size_t>(input.size())) != input.size()) {
        return failed(EMSGSIZE);
    }

    expectStatuses();
    const pid_t child = ::fork();
    if (child == 0) {
        becomeProgram(texts.pointers(), words.reading.value(), nothing.value(),
                      failure.writing.value());
    }
    if (child < 0) {
        return failed(errno);
    }
    words.writing.close();
    words.reading.close();
    failure.writing.close();
    int error = 0;
    ssize_t length = 0;
    do { // ends without a byte when the child becomes the program
        length = ::read(failure.reading.value(), &error, sizeof error);
    } while (length < 0 && errno == EINTR);
    if (length == sizeof error) {
        static_cast<void>(result(child));
        return failed(error);
    }
    return waitFor(child, limit);
}

#include "platform/processes/ChildProcess.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <system_error>
#include <vector>

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Child {
    pid_t pid = -1;
    int error = 0; // an errno value where it could not be started
};

// The first failure of several calls that return an errno value.
class FirstError {
public:
    void operator()(int error) { m_error = m_error == 0 ? error : m_error; }
    [[nodiscard]] int value() const { return m_error; }

private:
    int m_error = 0;
};

// A program that was started with SIGCHLD ignored inherits that, and the system then clears away
// its children by itself: no status would ever come.
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

// What the child does before it becomes the program.
class Preparation {
public:
    Preparation()
    {
        m_error(::posix_spawn_file_actions_init(&m_actions));
        m_error(::posix_spawnattr_init(&m_attributes));

        const char* const nothing = "/dev/null";
        m_error(::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, nothing, O_RDONLY, 0));
        m_error(
            ::posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, nothing, O_WRONLY, 0));
        m_error(::posix_spawn_file_actions_adddup2(&m_actions, STDOUT_FILENO, STDERR_FILENO));
        m_error(::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1));

        // The agent blocks signals and ignores some; a shell that inherited that could not be
        // ended, and would not notice a broken pipe.
        // All bits: sigfillset() leaves out the two signals that the C library keeps for itself,
        // and the child would start with those ignored.
        sigset_t signals;
        std::memset(&signals, 0xFF, sizeof signals);
        m_error(::posix_spawnattr_setsigdefault(&m_attributes, &signals));
        sigemptyset(&signals);
        m_error(::posix_spawnattr_setsigmask(&m_attributes, &signals));
        m_error(::posix_spawnattr_setflags(
            &m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID));
    }

    ~Preparation()
    {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }

    Preparation(const Preparation&) = delete;
    Preparation& operator=(const Preparation&) = delete;

    [[nodiscard]] int error() const { return m_error.value(); }
    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &m_actions; }
    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &m_attributes; }

private:
    FirstError m_error;
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
};

Child spawn(const QString& program, const QStringList& arguments)
{
    std::vector<QByteArray> texts = {QFile::encodeName(program)};
    for (const QString& argument : arguments) {
        texts.push_back(argument.toUtf8());
    }
    std::vector<char*> pointers;
    for (QByteArray& text : texts) {
        if (text.contains('\0')) {
            return {-1, EINVAL}; // the child would get a part of it only
        }
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    const Preparation preparation;
    if (preparation.error() != 0) {
        return {-1, preparation.error()};
    }
    expectStatuses();
    Child child;
    child.error = ::posix_spawn(&child.pid, pointers.front(), preparation.actions(),
                                preparation.attributes(), pointers.data(), ::environ);
    return child;
}

QString errorText(int error)
{
    return QString::fromStdString(std::generic_category().message(error));
}

// Waits for the child's end and clears its remains away; a result as for run().
ChildProcess::Result reap(pid_t pid)
{
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return {std::nullopt, errorText(errno)}; // somebody else has taken the status
        }
    }
    return {WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status), {}};
}

// Clears the child's remains away when it has ended.
void reapLater(pid_t pid)
{
    QCoreApplication* const application = QCoreApplication::instance();
    Q_ASSERT(application != nullptr && QThread::currentThread() == application->thread());

    // A descriptor that becomes readable at the child's end (pidfd_open(2)); the C library has the
    // function, but declares it for C only.
    const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
    if (descriptor >= 0) {
        auto* const notifier = new QSocketNotifier(descriptor, QSocketNotifier::Read, application);
        QObject::connect(notifier, &QSocketNotifier::activated, notifier,
                         [notifier, descriptor, pid] {
                             static_cast<void>(reap(pid));
                             notifier->setEnabled(false);
                             ::close(descriptor);
                             notifier->deleteLater();
                         });
        return;
    }
    // No descriptor left, or a kernel that has no such thing: have a look now and then.
    auto* const timer = new QTimer(application);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, pid] {
        if (::waitpid(pid, nullptr, WNOHANG) != 0) {
            timer->stop();
            timer->deleteLater();
        }
    });
    timer->start(std::chrono::seconds(1));
}

} // namespace

ChildProcess::Result ChildProcess::run(const QString& program, const QStringList& arguments)
{
    const Child child = spawn(program, arguments);
    if (child.error != 0) {
        return {std::nullopt, errorText(child.error)};
    }
    return reap(child.pid);
}

std::optional<QString> ChildProcess::start(const QString& program, const QStringList& arguments)
{
    const Child child = spawn(program, arguments);
    if (child.error != 0) {
        return errorText(child.error);
    }
    reapLater(child.pid);
    return std::nullopt;
}

#include "platform/processes/RunningSessions.h"

#include "platform/files/Descriptor.h"
#include "platform/files/RegularFile.h"

#include <QByteArray>
#include <QByteArrayList>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct Running {
    std::timed_mutex mutex; // guards the rest
    std::vector<pid_t> leaders;
    bool isOver = false;
};

// Never destroyed: other threads may run while the process ends.
Running& running()
{
    static auto* const theRunning = new Running;
    return *theRunning;
}

// The session of a process that has not ended, by the sixth field of its status (proc(5)); 0 for
// none.
pid_t sessionOf(pid_t process)
{
    const auto status = RegularFile::read(u"/proc/%1/stat"_s.arg(process), 4096).bytes;
    // The name in brackets may hold anything.
    const QByteArrayList fields = status.mid(status.lastIndexOf(')') + 2).split(' ');
    const bool isGone = fields.size() < 4 || fields[0] == "Z" || fields[0] == "X";
    return isGone ? 0 : fields[3].toInt();
}

std::vector<pid_t> processesOf(const std::vector<pid_t>& sessions)
{
    std::vector<pid_t> found;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator("/proc", error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const pid_t process = QByteArray(entry->path().filename().c_str()).toInt();
        const pid_t session = process > 0 ? sessionOf(process) : 0;
        if (session != 0 && std::count(sessions.begin(), sessions.end(), session) > 0) {
            found.push_back(process);
        }
    }
    return found;
}

// Sends the signal if the process is still one of its session. Its number may have become
// another's; a descriptor (pidfd_open(2)) stays with the one.
void signalMember(pid_t process, const std::vector<pid_t>& sessions, int signal)
{
    const Descriptor descriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    const bool isMember = std::count(sessions.begin(), sessions.end(), sessionOf(process)) > 0;
    if (!isMember) {
        return;
    }
    if (descriptor.isOpen()) {
        ::syscall(SYS_pidfd_send_signal, descriptor.value(), signal, nullptr, 0);
    } else {
        ::kill(process, signal); // no descriptor is left
    }
}

// Whether the leader, a child of this process, has ended; it is not reaped.
bool hasEnded(pid_t leader)
{
    siginfo_t info = {};
    return ::waitid(P_PID, static_cast<id_t>(leader), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == leader;
}

} // namespace

bool RunningSessions::begin(const std::function<pid_t()>& start)
{
    const std::lock_guard lock(running().mutex);
    if (running().isOver) {
        return false;
    }
    if (const pid_t leader = start(); leader > 0) {
        running().leaders.push_back(leader);
    }
    return true;
}

void RunningSessions::awaitEnd(pid_t leader)
{
    siginfo_t info = {};
    while (::waitid(P_PID, static_cast<id_t>(leader), &info, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    const std::lock_guard lock(running().mutex);
    std::erase(running().leaders, leader);
}

void RunningSessions::endAll(std::chrono::milliseconds grace)
{
    constexpr std::chrono::milliseconds kBetweenLooks(20);
    constexpr std::chrono::milliseconds kForKilling(200);
    const auto end = std::chrono::steady_clock::now() + grace;
    std::vector<pid_t> sessions;
    {
        // A shell that can't even be loaded (its file system hangs) must not hold up the end.
        const std::unique_lock lock(running().mutex, end);
        if (!lock.owns_lock()) {
            return;
        }
        running().isOver = true;
        sessions = running().leaders;
    }
    std::erase_if(sessions, &hasEnded); // what it has left in the background goes on
    if (sessions.empty()) {
        return;
    }
    const auto asked = processesOf(sessions);
    for (const pid_t leader : asked.empty() ? sessions : std::vector<pid_t>()) {
        ::kill(-leader, SIGTERM); // no descriptor is left to look at the processes
    }
    for (const pid_t process : asked) {
        signalMember(process, sessions, SIGTERM);
        signalMember(process, sessions, SIGCONT); // a stopped one hears it only then
    }
    while (std::chrono::steady_clock::now() < end) {
        if (processesOf(sessions).empty() &&
            std::all_of(sessions.begin(), sessions.end(), &hasEnded)) {
            return;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    // Without a descriptor that this would need; and again, as long as one that was not killed yet
    // starts others. Another account's (of sudo, say) can't be killed.
    for (const pid_t leader : sessions) {
        if (!hasEnded(leader)) { // else its number may be another's
            ::kill(-leader, SIGKILL);
        }
    }
    const auto last = std::chrono::steady_clock::now() + kForKilling;
    auto left = processesOf(sessions);
    while (!left.empty() && std::chrono::steady_clock::now() < last) {
        for (const pid_t process : left) {
            signalMember(process, sessions, SIGKILL);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        left = processesOf(sessions);
    }
}

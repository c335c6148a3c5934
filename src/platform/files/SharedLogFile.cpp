#include "platform/files/SharedLogFile.h"

#include "platform/files/RegularFile.h"

#include <QFile>

#include <cerrno>
#include <map>
#include <mutex>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kForEverybody = 0666;

// Open from the first use of a path until another file stands there, with a shared lock from
// begin() on.
struct OpenLog {
    Descriptor file;
    struct stat status = {}; // as last seen

    bool empty() const
    {
        return (status.st_uid == 0 || status.st_uid == ::geteuid()) &&
               ::ftruncate(file.value(), 0) == 0;
    }
};

struct Logs {
    std::mutex mutex; // guards the rest
    std::map<QString, OpenLog> open;
};

// Never destroyed: the last lines are written while the process ends.
Logs& logs = *new Logs;

bool isLog(const struct stat& status)
{
    return S_ISREG(status.st_mode) && status.st_nlink == 1 &&
           (status.st_mode & kForEverybody) == kForEverybody;
}

// The log at the path, open unless there is none.
OpenLog& openLog(const QString& path)
{
    OpenLog& log = logs.open[path];
    struct stat status = {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0 || !isLog(status)) {
        log.file.close();
    } else if (!log.file.isOpen() || status.st_ino != log.status.st_ino ||
               status.st_dev != log.status.st_dev) {
        // Without O_CREAT, which the kernel refuses for another account's file in a sticky
        // directory (fs.protected_regular).
        log.file = RegularFile::open(path, O_WRONLY | O_APPEND | O_NOFOLLOW);
        if (log.file.isOpen() && (::fstat(log.file.value(), &status) != 0 || !isLog(status))) {
            log.file.close();
        }
    }
    log.status = status;
    return log;
}

} // namespace

void SharedLogFile::append(const QString& path, const QByteArray& bytes, QByteArray (*firstLine)())
{
    const std::lock_guard lock(logs.mutex);
    const OpenLog& log = openLog(path);
    if (!log.file.isOpen()) {
        return;
    }
    QByteArray text = bytes;
    if (log.status.st_size > kLimit - bytes.size()) {
        if (!log.empty()) {
            return;
        }
        text.prepend(firstLine());
    }
    // A full disk loses the text.
    [[maybe_unused]] const auto written =
        ::write(log.file.value(), text.constData(), static_cast<std::size_t>(text.size()));
}

void SharedLogFile::begin(const QString& path)
{
    const std::lock_guard lock(logs.mutex);
    OpenLog& log = openLog(path);
    if (!log.file.isOpen()) {
        // Only a new file gets the mode, which the umask has cut. In a sticky directory that
        // everybody may write to, another account can give one of the user's own files this name.
        log.file = RegularFile::open(path, O_WRONLY | O_APPEND | O_CREAT | O_EXCL, kForEverybody);
        [[maybe_unused]] const auto result = ::fchmod(log.file.value(), kForEverybody);
        ::fstat(log.file.value(), &log.status);
    } else if (::flock(log.file.value(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
        log.empty();
    }
    ::flock(log.file.value(), LOCK_SH | LOCK_NB);
}

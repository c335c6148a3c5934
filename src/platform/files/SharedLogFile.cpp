#include "platform/files/SharedLogFile.h"

#include "platform/files/RegularFile.h"

#include <cerrno>
#include <map>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kForEverybody = 0666;

struct OpenLog {
    Descriptor file;
    off_t size = 0;
    uid_t owner = 0;

    bool empty() const
    {
        return (owner == 0 || owner == ::geteuid()) && ::ftruncate(file.value(), 0) == 0;
    }
};

// Without O_CREAT, which the kernel refuses for another account's file in a sticky directory
// (fs.protected_regular). Closed where it is no log.
OpenLog openLog(const QString& path)
{
    Descriptor file = RegularFile::open(path, O_WRONLY | O_APPEND | O_NOFOLLOW);
    struct stat status = {};
    if (file.isOpen() && (::fstat(file.value(), &status) != 0 || status.st_nlink != 1 ||
                          (status.st_mode & kForEverybody) != kForEverybody)) {
        file.close();
    }
    return {std::move(file), status.st_size, status.st_uid};
}

} // namespace

void SharedLogFile::append(const QString& path, const QByteArray& bytes, QByteArray (*firstLine)())
{
    const OpenLog log = openLog(path);
    if (!log.file.isOpen()) {
        return;
    }
    QByteArray text = bytes;
    if (log.size > kLimit - bytes.size()) {
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
    static std::map<QString, Descriptor> inUse; // holds a shared lock on each, until the end
    inUse.erase(path);
    OpenLog log = openLog(path);
    if (!log.file.isOpen()) {
        // Only a new file gets the mode, which the umask has cut. In a sticky directory that
        // everybody may write to, another account can give one of the user's own files this name.
        log.file = RegularFile::open(path, O_WRONLY | O_CREAT | O_EXCL, kForEverybody);
        if (!log.file.isOpen()) {
            return;
        }
        [[maybe_unused]] const auto result = ::fchmod(log.file.value(), kForEverybody);
    } else if (::flock(log.file.value(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) {
        log.empty();
    }
    ::flock(log.file.value(), LOCK_SH | LOCK_NB);
    inUse[path] = std::move(log.file);
}

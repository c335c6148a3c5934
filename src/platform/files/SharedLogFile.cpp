#include "platform/files/SharedLogFile.h"

#include "platform/files/RegularFile.h"

#include <QFile>

#include <cstring>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kForEverybody = 0666;

struct OpenLog {
    Descriptor file;
    off_t size = 0;
};

// Closed where it is no regular file that has one name only: what is written through a link, also a
// hard one, changes another file.
OpenLog openLog(const QString& path, int flags)
{
    Descriptor file = RegularFile::open(path, flags | O_NOFOLLOW, kForEverybody);
    struct stat status = {};
    if (file.isOpen() && (::fstat(file.value(), &status) != 0 || status.st_nlink != 1)) {
        file.close();
    }
    return {std::move(file), status.st_size};
}

// Where the newer half of the file begins: with the first line that begins in it, at the latest at
// the file's end.
off_t beginOfNewerHalf(const Descriptor& file, off_t size, std::vector<char>& buffer)
{
    off_t position = size / 2;
    for (;;) {
        const ssize_t count = ::pread(file.value(), buffer.data(), buffer.size(), position);
        if (count <= 0) {
            return size;
        }
        const void* const end = std::memchr(buffer.data(), '\n', static_cast<std::size_t>(count));
        if (end != nullptr) {
            return position + (static_cast<const char*>(end) - buffer.data()) + 1;
        }
        position += count;
    }
}

// Moves the newer half of the lines to the front, in the same file: it keeps its owner and mode.
// The agents of other persons append to it meanwhile, and one of them may be here, too: the lock
// lets in one, and waits for nobody, since any person could hold it for ever. What others append
// meanwhile is moved with the rest; only a line between the last read and the cut is lost.
void removeOlderHalf(const QString& path)
{
    const auto [file, unused] = openLog(path, O_RDWR);
    if (!file.isOpen() || ::flock(file.value(), LOCK_EX | LOCK_NB) != 0) {
        return;
    }
    struct stat status = {};
    if (::fstat(file.value(), &status) != 0 || status.st_size <= SharedLogFile::kLimit / 2) {
        return; // another agent has just been here
    }
    std::vector<char> buffer(1 << 18);
    off_t from = beginOfNewerHalf(file, status.st_size, buffer);
    off_t to = 0;
    for (;;) {
        const ssize_t count = ::pread(file.value(), buffer.data(), buffer.size(), from);
        if (count <= 0 ||
            ::pwrite(file.value(), buffer.data(), static_cast<std::size_t>(count), to) != count) {
            break;
        }
        from += count;
        to += count;
    }
    [[maybe_unused]] const int result = ::ftruncate(file.value(), to);
}

bool isOwn(const Descriptor& file)
{
    struct stat status = {};
    return ::fstat(file.value(), &status) == 0 && status.st_uid == ::geteuid();
}

} // namespace

void SharedLogFile::append(const QString& path, const QByteArray& bytes)
{
    static std::mutex mutex; // no thread appends while another one moves lines
    const std::lock_guard lock(mutex);
    const auto [file, size] = openLog(path, O_WRONLY | O_APPEND);
    if (!file.isOpen()) {
        return;
    }
    if (size + bytes.size() > kLimit) {
        removeOlderHalf(path);
    }
    // A full disk loses the text.
    [[maybe_unused]] const auto written =
        ::write(file.value(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

void SharedLogFile::startEmpty(const QString& path)
{
    Descriptor file = openLog(path, O_WRONLY).file;
    if (!file.isOpen() || ::ftruncate(file.value(), 0) != 0) {
        ::unlink(QFile::encodeName(path).constData());
        file = openLog(path, O_WRONLY | O_CREAT | O_EXCL).file;
    }
    if (file.isOpen() && isOwn(file)) {
        // The umask has cut the mode of a new file. Another person's file keeps its mode, also
        // where root runs the program.
        [[maybe_unused]] const auto result = ::fchmod(file.value(), kForEverybody);
    }
}

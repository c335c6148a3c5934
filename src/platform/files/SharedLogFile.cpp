#include "platform/files/SharedLogFile.h"

#include "platform/files/RegularFile.h"

#include <QFile>

#include <cstring>
#include <mutex>
#include <optional>
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

// Longer lines than this do not come from an agent.
constexpr off_t kLongestSearch = 1 << 20;

// Where the newer half of the file begins: with the first line that begins in it. Its end where
// none begins soon: the file is not what agents have written.
off_t beginOfNewerHalf(const Descriptor& file, off_t size, std::vector<char>& buffer)
{
    for (off_t position = size / 2; position < size / 2 + kLongestSearch;) {
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
    return size;
}

// Moves what begins at `from` to the front, as far as the file goes; what others append meanwhile
// too, but for no longer than they append as much again. Returns the new size; none where the disk
// is full, and then nothing is lost.
std::optional<off_t> moveToFront(const Descriptor& file, off_t from, off_t size,
                                 std::vector<char>& buffer)
{
    off_t to = 0;
    while (from < 2 * size) {
        const ssize_t count = ::pread(file.value(), buffer.data(), buffer.size(), from);
        if (count <= 0) {
            break;
        }
        if (::pwrite(file.value(), buffer.data(), static_cast<std::size_t>(count), to) != count) {
            return std::nullopt;
        }
        from += count;
        to += count;
    }
    return to;
}

// Moves the newer half of the lines to the front, in the same file: it keeps its owner and mode.
// The agents of other persons append to it meanwhile, and one of them may be here, too: the lock
// lets in one, and waits for nobody, since any person could hold it for ever. Only a line between
// the last read and the cut is lost. A file that is far too long was made so by somebody, for
// everybody may write it: it is emptied, whoever holds the lock.
void removeOlderHalf(const QString& path)
{
    const auto [file, size] = openLog(path, O_RDWR);
    if (!file.isOpen()) {
        return;
    }
    if (size > 2 * SharedLogFile::kLimit) {
        [[maybe_unused]] const int result = ::ftruncate(file.value(), 0);
        return;
    }
    struct stat status = {};
    if (::flock(file.value(), LOCK_EX | LOCK_NB) != 0 || ::fstat(file.value(), &status) != 0 ||
        status.st_size <= SharedLogFile::kLimit / 2) {
        return; // another agent is here, or has just been
    }
    std::vector<char> buffer(1 << 18);
    const off_t from = beginOfNewerHalf(file, status.st_size, buffer);
    if (const auto newSize = moveToFront(file, from, status.st_size, buffer)) {
        [[maybe_unused]] const int result = ::ftruncate(file.value(), *newSize);
    }
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
    if (size > kLimit - bytes.size()) {
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

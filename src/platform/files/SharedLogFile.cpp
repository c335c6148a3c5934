#include "platform/files/SharedLogFile.h"

#include "platform/files/RegularFile.h"

#include <QFile>

#include <fcntl.h>
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

bool isOwn(const Descriptor& file)
{
    struct stat status = {};
    return ::fstat(file.value(), &status) == 0 && status.st_uid == ::geteuid();
}

} // namespace

void SharedLogFile::append(const QString& path, const QByteArray& bytes, QByteArray (*firstLine)())
{
    const OpenLog log = openLog(path, O_WRONLY | O_APPEND);
    if (!log.file.isOpen()) {
        return;
    }
    QByteArray text = bytes;
    if (log.size > kLimit - bytes.size()) {
        if (::ftruncate(log.file.value(), 0) != 0) {
            return;
        }
        text.prepend(firstLine());
    }
    // A full disk loses the text.
    [[maybe_unused]] const auto written =
        ::write(log.file.value(), text.constData(), static_cast<std::size_t>(text.size()));
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

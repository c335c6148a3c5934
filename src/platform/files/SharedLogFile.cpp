#include "platform/files/SharedLogFile.h"

#include "platform/files/RegularFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kForEverybody = 0666;

// Closed where it is no regular file that has one name only: what is written through a link, also a
// hard one, changes another file.
Descriptor openToWrite(const QString& path, int flags)
{
    Descriptor file = RegularFile::open(path, flags | O_WRONLY | O_NOFOLLOW, kForEverybody);
    struct stat status = {};
    if (file.isOpen() && (::fstat(file.value(), &status) != 0 || status.st_nlink != 1)) {
        file.close();
    }
    return file;
}

bool isOwn(const Descriptor& file)
{
    struct stat status = {};
    return ::fstat(file.value(), &status) == 0 && status.st_uid == ::geteuid();
}

} // namespace

void SharedLogFile::append(const QString& path, const QByteArray& bytes)
{
    const Descriptor file = openToWrite(path, O_APPEND);
    if (file.isOpen()) {
        // A full disk loses the text.
        [[maybe_unused]] const auto written =
            ::write(file.value(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
}

void SharedLogFile::startEmpty(const QString& path)
{
    Descriptor file = openToWrite(path, 0);
    if (!file.isOpen() || ::ftruncate(file.value(), 0) != 0) {
        ::unlink(QFile::encodeName(path).constData());
        file = openToWrite(path, O_CREAT | O_EXCL);
    }
    if (file.isOpen() && isOwn(file)) {
        // The umask has cut the mode of a new file. Another person's file keeps its mode, also
        // where root runs the program.
        [[maybe_unused]] const auto result = ::fchmod(file.value(), kForEverybody);
    }
}

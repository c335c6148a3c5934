#include "platform/files/SharedLogFile.h"

#include "platform/files/RegularFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kForEverybody = 0666;

Descriptor openToWrite(const QString& path, int flags)
{
    return RegularFile::open(path, flags | O_WRONLY | O_NOFOLLOW, kForEverybody);
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
    Descriptor file = openToWrite(path, O_TRUNC);
    if (!file.isOpen()) {
        ::unlink(QFile::encodeName(path).constData());
        file = openToWrite(path, O_CREAT | O_EXCL);
    }
    if (file.isOpen()) {
        // The umask has cut the mode of a new file; another person's file keeps its mode.
        [[maybe_unused]] const auto result = ::fchmod(file.value(), kForEverybody);
    }
}

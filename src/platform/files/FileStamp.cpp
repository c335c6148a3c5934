#include "platform/files/FileStamp.h"

#include <QFile>

#include <chrono>

#include <sys/stat.h>

namespace {

std::int64_t nanoseconds(const timespec& time)
{
    return std::int64_t(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

} // namespace

std::optional<FileStamp> FileStamp::of(const QString& path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
        return std::nullopt;
    }
    return FileStamp{status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
                     nanoseconds(status.st_ctim)};
}

bool FileStamp::isSettled() const
{
    constexpr std::chrono::seconds kLongestStep(2);
    const std::chrono::nanoseconds age =
        std::chrono::system_clock::now().time_since_epoch() - std::chrono::nanoseconds(changed);
    return age > kLongestStep; // also not where the clock was set back
}

#include "platform/files/RegularFile.h"

#include "platform/files/SystemError.h"

#include <QFile>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

Descriptor RegularFile::open(const QString& path, int flags, unsigned int mode)
{
    Descriptor file(::open(QFile::encodeName(path).constData(),
                           flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode));
    struct stat status = {};
    if (file.isOpen() && (::fstat(file.value(), &status) != 0 || !S_ISREG(status.st_mode))) {
        file.close();
        errno = EINVAL;
    }
    return file;
}

RegularFile::Content RegularFile::read(const QString& path, qsizetype limit)
{
    const auto failed = [](State state, int error) {
        return Content{state, {}, systemErrorText(error)};
    };
    const Descriptor file = open(path, O_RDONLY);
    if (!file.isOpen()) {
        const int error = errno;
        // One that has come into being since was missing all the same.
        const bool exists =
            error != ENOENT && ::access(QFile::encodeName(path).constData(), F_OK) == 0;
        return failed(exists ? State::Unreadable : State::Missing, error);
    }
    Content content;
    std::array<char, 16384> buffer;
    for (;;) {
        const ssize_t count = ::read(file.value(), buffer.data(), buffer.size());
        if (count == 0) {
            return content;
        }
        if (count > 0) {
            content.bytes.append(buffer.data(), count);
        } else if (errno != EINTR) {
            return failed(State::Unreadable, errno);
        }
        if (content.bytes.size() > limit) {
            return failed(State::TooLarge, EFBIG);
        }
    }
}

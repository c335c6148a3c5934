#include "platform/files/RegularFile.h"

#include "platform/files/SystemError.h"

#include <QFile>

#include <algorithm>
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
    const Descriptor descriptor = open(path, O_RDONLY);
    if (!descriptor.isOpen()) {
        const int error = errno;
        // One that has come into being since was missing all the same.
        const bool exists =
            error != ENOENT && ::access(QFile::encodeName(path).constData(), F_OK) == 0;
        return {exists ? State::Unreadable : State::Missing, {}, systemErrorText(error)};
    }
    QFile file;
    file.open(descriptor.value(), QIODevice::ReadOnly | QIODevice::Unbuffered);
    // Piece by piece: the toolkit sets aside all that it may read, and a large block that comes and
    // goes leaves the allocator with larger ones for good.
    constexpr qsizetype kPiece = 16'384;
    QByteArray bytes;
    for (QByteArray piece; bytes.size() <= limit; bytes += piece) {
        piece = file.read(std::min(limit + 1 - bytes.size(), kPiece));
        if (piece.isEmpty()) {
            break;
        }
    }
    if (file.error() != QFileDevice::NoError) {
        return {State::Unreadable, {}, file.errorString()};
    }
    return bytes.size() <= limit ? Content{State::Read, bytes, {}}
                                 : Content{State::TooLarge, {}, systemErrorText(EFBIG)};
}

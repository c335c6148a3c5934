#include "platform/files/AtomicFile.h"

#include "platform/files/Descriptor.h"
#include "platform/files/SystemError.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The new name is on the disk only when its directory is.
bool syncDirectoryOf(const QByteArray& path)
{
    const QByteArray directory = path.left(path.lastIndexOf('/') + 1);
    const Descriptor descriptor(::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return descriptor.isOpen() && ::fsync(descriptor.value()) == 0;
}

} // namespace

std::optional<QString> AtomicFile::write(const QString& path, const QByteArray& bytes,
                                         unsigned int mode)
{
    const QByteArray name = QFile::encodeName(path);
    QByteArray temporary = name + ".XXXXXX";
    const Descriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file.isOpen()) {
        return systemErrorText(errno);
    }
    QFile content;
    content.open(file.value(), QIODevice::WriteOnly | QIODevice::Unbuffered);
    if (::fchown(file.value(), ::geteuid(), ::getegid()) == 0 &&
        ::fchmod(file.value(), mode) == 0 && content.write(bytes) == bytes.size() &&
        ::fsync(file.value()) == 0 && std::rename(temporary.constData(), name.constData()) == 0 &&
        syncDirectoryOf(name)) {
        return std::nullopt;
    }
    const int error = errno;
    ::unlink(temporary.constData()); // fails where it has its name already
    return systemErrorText(error);
}

std::optional<QString> AtomicFile::remove(const QString& path)
{
    return ::unlink(QFile::encodeName(path).constData()) == 0 || errno == ENOENT
               ? std::nullopt
               : std::optional(systemErrorText(errno));
}

#include "platform/files/SessionLock.h"

#include "platform/files/RegularFile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QString pathOf(QString name)
{
    name.replace(u'/', u'-');
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return folder.startsWith(u'/') ? folder + u'/' + name
                                   : u"/tmp/%1-%2"_s.arg(::geteuid()).arg(name);
}

struct flock wholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

} // namespace

SessionLock::Result SessionLock::take(const QString& name)
{
    // The sticky bit keeps the file from being cleaned away, as the standard has it.
    Descriptor file = RegularFile::open(pathOf(name), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC,
                                        S_IRUSR | S_IWUSR | S_ISVTX);
    struct stat info = {};
    // In /tmp another person may have made a file of that name.
    if (!file.isOpen() || ::fstat(file.value(), &info) != 0 || info.st_uid != ::geteuid()) {
        return Result::Failed;
    }
    struct flock lock = wholeFile();
    if (::fcntl(file.value(), F_OFD_SETLK, &lock) != 0) {
        return errno == EAGAIN || errno == EACCES ? Result::Busy : Result::Failed;
    }
    m_file = std::move(file);
    return Result::Taken;
}

bool SessionLock::isTaken(const QString& name)
{
    const Descriptor file = RegularFile::open(pathOf(name), O_RDWR | O_NOFOLLOW);
    struct flock lock = wholeFile();
    return file.isOpen() && ::fcntl(file.value(), F_OFD_GETLK, &lock) == 0 &&
           lock.l_type != F_UNLCK;
}

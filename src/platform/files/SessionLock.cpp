#include "platform/files/SessionLock.h"

#include "platform/files/RegularFile.h"

#include <QFile>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Whether it belongs to the user, and others have none of the permissions.
bool isOwnWithout(mode_t permissions, const struct stat& status)
{
    return status.st_uid == ::geteuid() && (status.st_mode & permissions) == 0;
}

QString pathOf(QString name)
{
    name.replace(u'/', u'-');
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    struct stat status = {};
    const bool isUsable = folder.startsWith(u'/') &&
                          ::stat(QFile::encodeName(folder).constData(), &status) == 0 &&
                          S_ISDIR(status.st_mode) && isOwnWithout(S_IWGRP | S_IWOTH, status);
    return isUsable ? folder + u'/' + name : u"/tmp/%1-%2"_s.arg(::geteuid()).arg(name);
}

// Closed where others could hold the lock. In /tmp they can make a file of that name, or a second
// name for one of the user's files; whoever may read a file can lock it.
Descriptor openLock(const QString& name, int flags)
{
    // The sticky bit keeps the file from being cleaned away, as the standard has it.
    Descriptor file =
        RegularFile::open(pathOf(name), flags | O_RDWR | O_NOFOLLOW, S_IRUSR | S_IWUSR | S_ISVTX);
    struct stat status = {};
    if (file.isOpen() && (::fstat(file.value(), &status) != 0 || status.st_nlink != 1 ||
                          !isOwnWithout(S_IRWXG | S_IRWXO, status))) {
        file.close();
    }
    return file;
}

constexpr struct flock kWholeFile = {
    .l_type = F_WRLCK, .l_whence = SEEK_SET, .l_start = 0, .l_len = 0, .l_pid = 0};

} // namespace

SessionLock::Result SessionLock::take(const QString& name)
{
    Descriptor file = openLock(name, O_CREAT);
    if (!file.isOpen()) {
        return Result::Failed;
    }
    if (::fcntl(file.value(), F_OFD_SETLK, &kWholeFile) != 0) {
        return errno == EAGAIN || errno == EACCES ? Result::Busy : Result::Failed;
    }
    m_file = std::move(file);
    return Result::Taken;
}

bool SessionLock::isTaken(const QString& name)
{
    const Descriptor file = openLock(name, 0);
    struct flock lock = kWholeFile;
    return file.isOpen() && ::fcntl(file.value(), F_OFD_GETLK, &lock) == 0 &&
           lock.l_type != F_UNLCK;
}

#include "platform/files/SessionLock.h"

#include "platform/files/RegularFile.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
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
    if (::flock(file.value(), LOCK_EX | LOCK_NB) != 0) {
        return errno == EWOULDBLOCK ? Result::Busy : Result::Failed;
    }
    m_file = std::move(file);
    return Result::Taken;
}

#include "platform/files/FileFacts.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <sys/stat.h>

FileFacts FileFacts::of(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    FileFacts facts;
    struct stat named = {};
    if (::lstat(name.constData(), &named) != 0) {
        facts.kind = errno == EACCES ? Kind::Hidden : Kind::Missing;
        return facts;
    }
    struct stat status = {};
    if (::stat(name.constData(), &status) != 0) {
        status = named;
    }
    facts.kind = S_ISREG(status.st_mode)   ? Kind::Regular
                 : S_ISDIR(status.st_mode) ? Kind::Folder
                                           : Kind::Other;
    facts.owner = status.st_uid;
    facts.group = status.st_gid;
    facts.mode = status.st_mode & 07777U;
    facts.hasOtherNames =
        S_ISLNK(named.st_mode) || (S_ISREG(status.st_mode) && status.st_nlink > 1);
    const QFileInfo info(path);
    facts.isReadable = info.isReadable();
    facts.isWritable = info.isWritable();
    return facts;
}

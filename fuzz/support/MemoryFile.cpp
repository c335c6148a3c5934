#include "support/MemoryFile.h"

#include "support/Fuzzing.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/mman.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

int newFile()
{
    return ::memfd_create("fuzz", MFD_CLOEXEC);
}

} // namespace

MemoryFile::MemoryFile(const QString& path) : m_descriptor(newFile())
{
    QDir().mkpath(QFileInfo(path).path());
    QFile::remove(path);
    require(QFile::link(u"/proc/self/fd/%1"_s.arg(m_descriptor), path), "the link can be made");
}

void MemoryFile::setContent(QByteArrayView content)
{
    const int file = newFile();
    require(::dup2(file, m_descriptor) == m_descriptor &&
                ::write(file, content.data(), static_cast<std::size_t>(content.size())) ==
                    content.size(),
            "the file in memory can be written");
    ::close(file);
}

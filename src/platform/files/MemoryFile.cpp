#include "platform/files/MemoryFile.h"

#include <algorithm>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

} // namespace

MemoryFile MemoryFile::make()
{
    Descriptor file(::memfd_create("vantoryAgent", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const bool isSealed = file.isOpen() && ::ftruncate(file.value(), kSize) == 0 &&
                          ::fcntl(file.value(), F_ADD_SEALS, kSeals) == 0;
    return isSealed ? MemoryFile(std::move(file)) : MemoryFile();
}

MemoryFile MemoryFile::inherited()
{
    struct stat status = {};
    if (::fcntl(kInherited, F_GET_SEALS) != kSeals || ::fstat(kInherited, &status) != 0 ||
        status.st_size != kSize || ::fcntl(kInherited, F_SETFD, FD_CLOEXEC) != 0) {
        return {};
    }
    return MemoryFile(Descriptor(kInherited));
}

QByteArray MemoryFile::read()
{
    QByteArray bytes(kSize, '\0');
    [[maybe_unused]] const auto size =
        ::pread(m_file.value(), bytes.data(), static_cast<std::size_t>(kSize), 0);
    const auto last = std::find_if(bytes.crbegin(), bytes.crend(), [](char c) { return c != 0; });
    m_end = bytes.crend() - last;
    bytes.truncate(m_end);
    return bytes.first(static_cast<qsizetype>(qstrlen(bytes.constData())));
}

void MemoryFile::write(const QByteArray& bytes)
{
    const QByteArray padded = bytes.leftJustified(m_end, '\0');
    [[maybe_unused]] const auto written =
        ::pwrite(m_file.value(), padded.constData(), static_cast<std::size_t>(padded.size()), 0);
    m_end = bytes.size();
}

bool MemoryFile::append(const QByteArray& bytes)
{
    if (m_end + bytes.size() > kSize) {
        return false;
    }
    [[maybe_unused]] const auto written =
        ::pwrite(m_file.value(), bytes.constData(), static_cast<std::size_t>(bytes.size()), m_end);
    m_end += bytes.size();
    return true;
}

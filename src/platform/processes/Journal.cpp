#include "platform/processes/Journal.h"

#include "platform/files/Descriptor.h"
#include "platform/files/FilePaths.h"

#include <QFile>
#include <QStringDecoder>
#include <QtEndian>

#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// With its length before it a value may have several lines.
QByteArray field(const QByteArray& name, const QByteArray& value)
{
    constexpr qsizetype kLongest = 16 * 1024;
    // The decoder keeps half a character at the end to itself.
    const QByteArray text =
        QString(QStringDecoder(QStringConverter::Utf8).decode(value.left(kLongest))).toUtf8();
    QByteArray length(sizeof(quint64), Qt::Uninitialized);
    qToLittleEndian(static_cast<quint64>(text.size()), length.data());
    return name + '\n' + length + text + '\n';
}

} // namespace

void Journal::send(Priority priority, const Fields& fields)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(FilePaths::system(u"/run/systemd/journal/socket"_s));
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket.isOpen() || path.size() >= qsizetype(sizeof address.sun_path)) {
        return;
    }
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));

    QByteArray entry;
    for (const auto& [name, value] : fields) {
        entry += field(name, value);
    }
    entry += "PRIORITY=" + QByteArray::number(static_cast<int>(priority)) +
             "\nSYSLOG_IDENTIFIER=vantoryAgent\n";
    [[maybe_unused]] const auto sent = ::sendto(
        socket.value(), entry.constData(), static_cast<std::size_t>(entry.size()),
        MSG_DONTWAIT | MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

bool Journal::takesStandardError()
{
    struct stat status = {};
    return ::fstat(STDERR_FILENO, &status) == 0 &&
           qgetenv("JOURNAL_STREAM") ==
               QByteArray::number(status.st_dev) + ':' + QByteArray::number(status.st_ino);
}

#pragma once

#include "platform/files/Descriptor.h"

#include <QByteArray>
#include <QString>

// Files that others may have put in place: only a regular file is opened, and never waited for. (To
// open a named pipe would wait until somebody else opens its other end.) Any thread.
namespace RegularFile {

// Opens the file with open(2)'s flags; the mode is that of a file that it makes. Where that fails
// or it is not a regular file, the result is closed and errno tells why. Internal to the
// platform.
[[nodiscard]] Descriptor open(const QString& path, int flags, unsigned int mode = 0);

enum class State { Read, Missing, Unreadable, TooLarge };

struct Content {
    State state = State::Read;
    QByteArray bytes; // the whole file, where it was read
    QString error;    // else the reason, as the system words it
};

// Reads a whole file of at most `limit` bytes, usually a mebibyte.
[[nodiscard]] Content read(const QString& path, qsizetype limit = 1024 * 1024);

} // namespace RegularFile

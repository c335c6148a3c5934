#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Files that are written whole or not at all. Each returns the system's error text, or none on
// success. Any thread.
namespace AtomicFile {

// Replaces the file, or makes it, with this process's user and group and exactly this mode; also
// if the name was a link or another user's file. The bytes are on the disk when it returns. If it
// fails, the old file stays, unless the failure was only in syncing the directory.
[[nodiscard]] std::optional<QString> write(const QString& path, const QByteArray& bytes,
                                           unsigned int mode);

// Removes the file; one that is not there is no error.
[[nodiscard]] std::optional<QString> remove(const QString& path);

} // namespace AtomicFile

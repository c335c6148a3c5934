#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Files that are there whole or not at all. An error is returned as the system words it, none where
// it went well. Any thread.
namespace WholeFile {

// Replaces the file, or makes it, with this process's user and group and exactly this mode; also
// where another one's file or a link had the name. The bytes are on the disk when it returns. Where
// it fails, what was there stays; unless only the directory could not be brought to the disk.
[[nodiscard]] std::optional<QString> write(const QString& path, const QByteArray& bytes,
                                           unsigned int mode);

// Removes the file; one that is not there is no error.
[[nodiscard]] std::optional<QString> remove(const QString& path);

} // namespace WholeFile

#pragma once

#include <QString>
#include <QVariant>

#include <optional>

// The application folder that the running program stands in: NAME.app with the program, its
// Info.plist and the directory Resources. It is where the program's file really lies, whatever link
// it was started through and whatever root directory is set for other files (see FilePaths).
// Needs no application object. Any thread.
namespace MainBundle {

// The folder's absolute path, without a trailing slash.
[[nodiscard]] QString path();

// The path of a resource file, "NAME.TYPE" below Resources; none where no such file exists.
[[nodiscard]] std::optional<QString> resourcePath(const QString& name, const QString& type);

// A value of Info.plist; an invalid variant where the file or the key is missing. The file is read
// at each call.
[[nodiscard]] QVariant infoValue(const QString& key);

} // namespace MainBundle

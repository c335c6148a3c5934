#pragma once

#include <QString>

#include <optional>

// The application folder of the running program: NAME.app with the program, its Info.plist and the
// directory Resources. It is the folder in which the program's file lies, also when the program was
// started by a link, and also when other paths have a root directory before them (see FilePaths).
// Works without an application object. Any thread, but for infoText().
namespace MainBundle {

// The folder's absolute path, without a trailing slash.
[[nodiscard]] QString path();

// The path of the resource file "Resources/NAME.TYPE"; none where there is no such file.
[[nodiscard]] std::optional<QString> resourcePath(const QString& name, const QString& type);

// Whether the program's file is no longer there: the package was upgraded or removed while the
// program runs. What then lies in the folder is another version's, or nothing.
[[nodiscard]] bool isReplaced();

// A text of Info.plist, which is read at each call. Once the program is replaced, and where the
// file cannot be read, it is the one that was last read. None where the file was never read or has
// no text under this key. Main thread.
[[nodiscard]] std::optional<QString> infoText(const QString& key);

} // namespace MainBundle

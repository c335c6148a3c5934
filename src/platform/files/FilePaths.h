#pragma once

#include <QString>

// Where files lie on this system.
//
// Every absolute path that the program itself reads or writes goes through rooted(), so that tests
// and demonstrations can put a directory before it: the one that the environment variable
// VANTORY_ROOT names. The paths of programs that are started, and of what these open, stay as they
// are. Any thread.
namespace FilePaths {

// The path with the root directory before it; unchanged where none is set or the path is relative.
// A relative root starts at the current directory.
[[nodiscard]] QString rooted(const QString& absolutePath);

// A file of the agent's preferences, rooted: below "/Library/Preferences/vantoryAgent".
[[nodiscard]] QString preferences(const QString& name);

// The machine-wide library directory, without a trailing slash and not rooted: "/Library".
[[nodiscard]] QString libraryDirectory();

// The same for programs' data: "/var/lib".
[[nodiscard]] QString applicationSupportDirectory();

} // namespace FilePaths

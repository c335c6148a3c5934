#pragma once

#include <QString>

// Where files lie on this system.
//
// Every absolute path that the program itself reads or writes goes through rooted(), so that tests
// and demonstrations can put a directory of their own before it: the one that the environment
// variable VANTORY_ROOT names. Programs that are started, and what they open, are not moved.
// Any thread.
namespace FilePaths {

// The path with the root directory before it; unchanged where none is set, and where the path is
// not absolute. A relative root counts from the current directory; slashes at its end don't matter.
[[nodiscard]] QString rooted(const QString& absolutePath);

// The two bases are not rooted: whoever opens a file puts its whole path through rooted(), and the
// path that is written to a log or handed to another program is the true one.

// The machine-wide library directory, without a trailing slash: "/Library".
[[nodiscard]] QString libraryDirectory();

// The machine-wide directory for programs' own data, without a trailing slash: "/var/lib".
[[nodiscard]] QString applicationSupportDirectory();

} // namespace FilePaths

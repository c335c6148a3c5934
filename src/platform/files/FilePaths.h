#pragma once

#include <QString>

// Where the files lie that the program itself reads and writes: absolute paths, given the part
// below a directory of the system.
//
// Tests and demonstrations put a directory before them all, the one that the environment variable
// VANTORY_ROOT names (a relative one starts at the current directory). The paths of programs that
// are started, and of what these open, stay as they are. Any thread.
namespace FilePaths {

[[nodiscard]] QString library(const QString& path);            // "/Library/PATH"
[[nodiscard]] QString applicationSupport(const QString& path); // "/var/lib/PATH"
[[nodiscard]] QString configuration(const QString& path);      // "/etc/opt/PATH"

// A path as the system has it.
[[nodiscard]] QString system(const QString& absolutePath);

// What the agent keeps for the user from one run to the next (XDG Base Directory Specification):
// "$XDG_STATE_HOME/vantoryAgent/NAME", usually below "~/.local/state".
[[nodiscard]] QString userState(const QString& name);

// The agent's preferences: "/Library/Preferences/vantoryAgent/NAME".
[[nodiscard]] QString preferences(const QString& name);

} // namespace FilePaths

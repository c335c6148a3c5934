#pragma once

#include <QString>
#include <QStringView>

// The paths of the system's programs that this one starts or names in a command line. Any thread.
namespace SystemPrograms {

inline constexpr QStringView kSh = u"/bin/sh";
inline constexpr QStringView kBash = u"/bin/bash";
inline constexpr QStringView kSudo = u"/usr/bin/sudo";
inline constexpr QStringView kEcho = u"/bin/echo";
inline constexpr QStringView kRm = u"/bin/rm";

// These lie in different places on different systems; the first is taken that exists.
[[nodiscard]] QString chown(); // "/usr/sbin/chown" or "/usr/bin/chown"
[[nodiscard]] QString su();    // "/usr/bin/su" or "/bin/su"

} // namespace SystemPrograms

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
inline constexpr QStringView kSu = u"/bin/su";

// "/usr/sbin/chown" where that exists, else "/usr/bin/chown".
[[nodiscard]] QString chown();

} // namespace SystemPrograms

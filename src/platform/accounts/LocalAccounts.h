#pragma once

#include <QString>

#include <optional>

// The accounts that may log in at this machine, and their passwords. Any thread, but slow: a wrong
// password takes about two seconds, and an account server that can't be reached takes longer.
namespace LocalAccounts {

// Whether this is the account's password and the account may be used (neither locked nor expired).
//
// For the program's own account, and for every account where the program runs as root, PAM is asked
// (service "vantoryagent", or "other" where the system has no such service). For another account
// PAM's usual module refuses even the right password, since it may not read the stored one; so
// su(1) is asked, which may. su refuses every password of an account whose shell is nologin(8).
//
// Refused without asking: names that are empty, unknown, begin with a hyphen or hold a control
// character, and passwords that are empty, have several lines or more than 511 bytes.
[[nodiscard]] bool isPasswordRight(const QString& name, const QString& password);

struct Group {
    quint32 gid = 0;
    QString name;
};
// The administrators' group: the first of "admin", "sudo" and "wheel" that this system has.
[[nodiscard]] std::optional<Group> administrators();

// Whether the account is in the administrators' group.
[[nodiscard]] bool isAdministrator(const QString& name);

} // namespace LocalAccounts

#pragma once

#include <QString>

// The accounts that this machine lets log in, and their passwords. Any thread, but slow: a wrong
// password takes about two seconds, and an account service that is out of reach takes its time.
namespace LocalAccounts {

// Whether this is the account's password and the account may be used (neither locked nor expired).
//
// What can answer without privileges depends on whose account it is. For the program's own account,
// and for all where the program runs as root, it is PAM (service "vantoryagent", or "other" where
// the system has no such service). For any other account PAM's usual module would refuse the right
// password too, since it may not read it, so there su(1) answers, which may. An account whose shell
// lets nobody in (nologin) is refused by su whatever the password.
//
// Refused before anything is asked: names that are empty, unknown, begin with a hyphen or hold a
// control character, and passwords that are empty, of several lines or of more than 511 bytes.
[[nodiscard]] bool isPasswordRight(const QString& name, const QString& password);

// Whether the account is in the administrators' group: the first of "admin", "sudo" and "wheel"
// that this system has.
[[nodiscard]] bool isAdministrator(const QString& name);

} // namespace LocalAccounts

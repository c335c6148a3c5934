#pragma once

#include <QString>

#include <optional>

// The person who runs the program and the machine it runs on. Any thread.
namespace Account {

// The login name of the user who runs the program; the decimal user number where the account
// database does not know it.
[[nodiscard]] QString loginName();

// The full name: the first part of the account's comment field (an "&" in it stands for the
// capitalised login name, as passwd(5) and finger have it); the login name where it is empty.
[[nodiscard]] QString fullName();

// The machine's host name; none where it has none.
[[nodiscard]] std::optional<QString> hostName();

} // namespace Account

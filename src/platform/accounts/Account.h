#pragma once

#include <QString>

#include <optional>

// The person who runs the program, and the machine. Any thread.
namespace Account {

// The user number.
[[nodiscard]] quint32 number();

// The login name; the decimal user number where the account database doesn't know it.
[[nodiscard]] QString loginName();
[[nodiscard]] QString loginName(quint32 number);

// The user number of the account with this login name; none where there is none.
[[nodiscard]] std::optional<quint32> numberOf(const QString& name);

// The full name: the first part of the account's comment field, in which "&" means the capitalised
// login name (passwd(5)); the login name where it is empty.
[[nodiscard]] QString fullName();

// The machine's host name; none where it has none.
[[nodiscard]] std::optional<QString> hostName();

} // namespace Account

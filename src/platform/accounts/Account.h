#pragma once

#include <QString>

#include <optional>

// The user who runs the program. Any thread.
namespace Account {

// The UID.
[[nodiscard]] quint32 uid();

// The login name; the decimal UID where the account database doesn't know it.
[[nodiscard]] QString loginName(quint32 account = uid());

// The UID of the account with this login name; none where there is no such account.
[[nodiscard]] std::optional<quint32> uidOf(const QString& name);

// The full name: the first part of the account's comment field, in which "&" means the capitalised
// login name (passwd(5)); the login name where it is empty.
[[nodiscard]] QString fullName();

} // namespace Account

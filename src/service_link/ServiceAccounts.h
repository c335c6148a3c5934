#pragma once

#include <QString>

#include <optional>

// Which accounts may be the service, whose commands run as the person: root, the person's own
// (whose programs can do all that anyway), and those that the packager names
// (VANTORY_SERVICE_ACCOUNTS). Any thread.
namespace ServiceAccounts {

// Why the account that has the service's end of the connection may not be the service; none where
// it may. Root must also be listening, or one of the others: with some kinds of socket (SMC) the
// kernel takes connections for any account's listener, and its end then counts as root's.
[[nodiscard]] std::optional<QString> refusalOf(quint32 owner, std::optional<quint32> listener);

} // namespace ServiceAccounts

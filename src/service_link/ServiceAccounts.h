#pragma once

#include <QString>

#include <optional>

// Which accounts may be the service, whose commands run as the person: root, the person's own
// (whose programs can do all that anyway), and those that the packager names
// (VANTORY_SERVICE_ACCOUNTS). Any thread.
namespace ServiceAccounts {

// Why the account of this number may not be the service; none where it may.
[[nodiscard]] std::optional<QString> refusalOf(quint32 account);

} // namespace ServiceAccounts

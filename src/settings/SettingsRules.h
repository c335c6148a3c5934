#pragma once

#include "records/BackendSettings.h"

#include <QString>

// What the settings window's entries mean and which are valid. Any thread.
namespace SettingsRules {

enum class InvalidEntry { None, AccountId, SessionCode };
// Which entry is wrong. Only the entry of the chosen mode counts: the account must be a UUID with
// its hyphens (RFC 9562), the session code six characters that are a decimal number, sign included.
[[nodiscard]] InvalidEntry invalidEntry(const BackendSettings& entries);

} // namespace SettingsRules

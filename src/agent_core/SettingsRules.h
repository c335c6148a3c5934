#pragma once

#include "records/BackendSettings.h"

#include <QString>

// What the settings window's entries mean and which are valid. Any thread.
namespace SettingsRules {

// A UUID (RFC 9562, section 4) with its hyphens, upper or lower case, nothing around it.
[[nodiscard]] bool isAccountId(const QString& text);
// Six characters that are a decimal number, its sign included.
[[nodiscard]] bool isSessionCode(const QString& text);

enum class Complaint { None, AccountId, SessionCode };
// Which entry is wrong. Only the entry of the chosen mode counts.
[[nodiscard]] Complaint complaint(const BackendSettings& entries);

} // namespace SettingsRules

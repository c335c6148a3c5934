#pragma once

#include "records/BackendSettings.h"

#include <QString>
#include <QStringList>

// What the settings window's entries mean and which are valid. Any thread.
namespace SettingsRules {

// The platforms that can be chosen, in the order of the box.
[[nodiscard]] QStringList platformNames();
// The place of a stored platform in that list, and the value that is stored for a name in it:
// an empty text for production.
[[nodiscard]] int platformIndex(const QString& platform);
[[nodiscard]] QString platformValue(const QString& name);

enum class Complaint { None, AccountId, SessionCode };
// Which entry is wrong. Only the entry of the chosen mode counts: the account must be a UUID with
// its hyphens (RFC 9562), the session code six characters that are a decimal number, sign included.
[[nodiscard]] Complaint complaint(const BackendSettings& entries);

} // namespace SettingsRules

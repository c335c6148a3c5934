#pragma once

#include <optional>

#include <QString>

// What an administrator has set: the account that the machine belongs to. The property list that
// holds it is owned by root; "accountID" is its key for `accountId`.
struct BackendSettings {
    bool managed = false; // centrally managed; else by a session code
    QString sessionCode;  // six digits
    QString accountId;    // a UUID as text
    QString platform;     // empty for production, else "staging" or "testing"

    bool operator==(const BackendSettings&) const = default;
};

// The settings file's place, root directory included.
[[nodiscard]] QString backendSettingsPath();

// Reads the settings from a file. None where the file is missing or no property list (each a line
// in the error log), or where "accountID" or "platform" is missing or no text. A missing "managed"
// is false, a missing "sessionCode" empty; a platform other than "testing" and "staging" counts as
// production. Main thread.
[[nodiscard]] std::optional<BackendSettings> read_BackendSettingsPlist(const QString& path);

#pragma once

#include "records/BackendSettings.h"

#include <QString>

#include <optional>

// The settings file's place, root directory included.
[[nodiscard]] QString backendSettingsPath();

// The place of older settings, which are deleted with those of an account.
[[nodiscard]] QString olderSettingsPath();

struct StoredSettings {
    std::optional<BackendSettings> settings;
    QString error; // why the file holds none; empty where a key is missing or no text
};

// Reads the settings from a file. None where the file is missing or no property list, or where
// "accountID" or "platform" is missing or no text. A missing "managed" is false, a missing
// "sessionCode" empty; a platform other than "testing" and "staging" counts as production. Any
// thread.
[[nodiscard]] StoredSettings readBackendSettings(const QString& path);

// Likewise, with the error as a line in the error log.
[[nodiscard]] std::optional<BackendSettings> read_BackendSettingsPlist(const QString& path);

// The settings as an XML property list. The entries are put in as they are; one with a "<" makes
// the file unreadable. Any thread.
[[nodiscard]] QString settingsPropertyList(const BackendSettings& settings);

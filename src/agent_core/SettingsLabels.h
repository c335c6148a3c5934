#pragma once

#include "localisation/Translate.h"
#include "records/SettingsTexts.h"

// The texts of the settings window. Any thread.

// In English, for an installation whose label document can't be loaded.
[[nodiscard]] SettingsTexts defaultSettingsTexts();

// From one language's labels.
[[nodiscard]] SettingsTexts settingsTextsFrom(const JsonData::Info& labels);

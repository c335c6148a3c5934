#pragma once

#include <QString>

#include "agent_core/SettingsRules.h"
#include "records/BackendSettings.h"

// Replacing the stored settings, which belong to root: the one place where the agent changes the
// machine. It takes seconds, a minute a step at the most, so it runs away from the main thread.
//
// Whether a step succeeds is not asked: what the credentials allow, happens. Nothing is logged but
// that a shell could not be started; in particular no command line, since it holds the password.
namespace PrivilegedSettings {

// Removes a file as root.
void removeAsRoot(const Credentials& credentials, const QString& path);

// Writes the settings file, which is root's afterwards.
void createSettingsPlistAsRoot(const Credentials& credentials, const BackendSettings& setting);

// Clears away all that was set before, then writes the new settings: the whole preferences
// directory is emptied, logo and allowed settings included, since they came with the account that
// the machine belonged to. What can't be deleted is told on standard output, and left.
void replace(const Credentials& credentials, const BackendSettings& setting);

} // namespace PrivilegedSettings

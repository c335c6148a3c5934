#pragma once

#include "agent_core/SettingsCommands.h"
#include "records/BackendSettings.h"

#include <QString>

// Replaces the stored settings, which belong to root: the one place where the agent changes the
// machine. It takes seconds, at most a minute a step, so it runs on a worker thread.
//
// Nobody asks whether a step succeeds: the credentials decide what happens. The only thing logged
// is a shell that could not be started or did not end; never its script, which holds the
// password.
namespace PrivilegedSettings {

// Removes a file as root.
void removeAsRoot(const Credentials& credentials, const QString& path);

// Writes the settings file, which is root's afterwards.
void createSettingsPlistAsRoot(const Credentials& credentials, const BackendSettings& setting);

// Empties the preferences directory, then writes the new settings. The logo and the allowed
// settings go too, since they came with the account that the machine belonged to. What can't be
// deleted stays and is reported on standard output.
void replace(const Credentials& credentials, const BackendSettings& setting);

} // namespace PrivilegedSettings

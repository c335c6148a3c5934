#pragma once

#include "records/BackendSettings.h"

#include <QString>
#include <QStringList>

// An account's name and password, as an administrator has typed them and as they were checked.
struct Credentials {
    QString user;
    QString password;
};

// Whether this is a local account and its password, and, only if told so, an administrator's. Takes
// seconds; any thread.
[[nodiscard]] bool authenticateLocalAdminUser(const QString& username, const QString& password,
                                              bool checkAdmin);

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

// The scripts for bash(1) that replace the settings file as root.
//
// Nothing in them is escaped: the shell reads a quote or a dollar in any piece as it always does.
// So it drops the quotes of the property list's head, and the file holds the head's values without
// them; the service relies on that, and on the rest of these lines. The redirection is done by the
// user's own shell, not by root's. Every script holds the password: the caller wipes it. Any
// thread.

// The arguments that make bash(1) run the script on its input as it would run the argument of "-c",
// with an empty input and the umask 022; so no command line holds the password, which everybody
// could read. The environment cannot change the shell's own commands: "-p" leaves out its
// functions, shell options and BASH_ENV, "--norc" the file that bash reads by itself where
// SSH_CLIENT is set.
[[nodiscard]] QStringList shellArguments();

// The script that writes the text to the file, then makes root its owner with the named program.
[[nodiscard]] QString writing(const Credentials& credentials, const QString& text,
                              const QString& path, const QString& chown);

} // namespace PrivilegedSettings

#pragma once

#include <QString>
#include <QStringList>

// An account's name and password, as an administrator has typed them and as they were checked.
struct Credentials {
    QString user;
    QString password;
};

// The scripts for bash(1) that replace the settings file as root.
//
// Nothing in them is escaped: the shell reads a quote or a dollar in any piece as it always does.
// So it drops the quotes of the property list's head, and the file holds the head's values without
// them; the service relies on that, and on the rest of these lines. The redirection is done by the
// person's own shell, not by root's. Every script holds the password: the caller wipes it. Any
// thread.
namespace SettingsCommands {

// The arguments that make bash(1) run the script on its input as it would run the argument of "-c",
// with an empty input and the umask 022; so no command line holds the password, which everybody
// could read. The environment cannot change the shell's own commands: "-p" leaves out its
// functions, shell options and BASH_ENV, "--norc" the file that bash reads by itself where
// SSH_CLIENT is set.
[[nodiscard]] QStringList shellArguments();

// Removes the file.
[[nodiscard]] QString remove(const Credentials& credentials, const QString& path);

// Writes the text to the file, then makes root its owner with the named program.
[[nodiscard]] QString write(const Credentials& credentials, const QString& text,
                            const QString& path, const QString& chown);

} // namespace SettingsCommands

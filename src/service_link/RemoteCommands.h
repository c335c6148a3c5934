#pragma once

#include <QString>
#include <QStringView>

// What the service asks to be run, by way of the system's shell, as the person who runs the agent.
// Both operations wait for the shell's end, and log. On the link's queue.
//
// The result is the shell's exit status (or the number of the signal that it died of); 1 where it
// could not be started.
namespace RemoteCommands {

// Runs a command line. One that names a program inside an application's folder below
// "/Applications/" is an application start: 4 where that program does not exist; else it is left
// running in the background, and the result is the shell's, which returns at once.
[[nodiscard]] qint64 executeCommand(const QString& text);

// Runs a command line in the foreground, whatever it names. Unlike the other it logs no status.
[[nodiscard]] qint64 executeApplication(const QString& text);

// The first word of a command line. Quotes group blanks and stay in the word; a backslash before a
// blank keeps it in the word, and stays too; it does not protect a quote.
[[nodiscard]] QString getCommand(QStringView command);

} // namespace RemoteCommands

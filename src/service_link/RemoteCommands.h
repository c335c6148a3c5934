#pragma once

#include <QString>
#include <QStringView>

// Runs command lines of the service in the system's shell, as the person who runs the agent. Both
// operations wait for the shell's end, and log. On the link's queue.
//
// The result is the shell's exit status, or the number of the signal that it died of, or 1 where it
// could not be started.
namespace RemoteCommands {

// Runs a command line. One that names a program in an application's folder below "/Applications/"
// starts that program in the background, and the shell ends at once; the result is 4 where the
// program does not exist.
[[nodiscard]] qint64 executeCommand(const QString& text);

// Runs any command line in the foreground. Unlike the other operation it logs no status.
[[nodiscard]] qint64 executeApplication(const QString& text);

// Ends the command that is running: asks its whole session, and kills what is left a second later.
// No other starts afterwards; the result is 1. What earlier commands have left in the background
// goes on. Returns when all have ended. Any thread.
void endRunning();

// The first word of a command line. A blank between quotes or after a backslash belongs to the
// word; the quotes and the backslash stay in it. A quote after a backslash is still a quote.
[[nodiscard]] QString getCommand(QStringView command);

} // namespace RemoteCommands

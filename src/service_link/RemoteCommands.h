#pragma once

#include "platform/files/Descriptor.h"

#include <QString>
#include <QStringView>

#include <functional>

// Runs command lines of the service in the system's shell, as the user who runs the agent, and
// logs. Any thread.
namespace RemoteCommands {

struct Started {
    // Waits for the shell's end and returns its exit status, or the number of the signal that it
    // died of, or 1 where it could not be started. Once.
    std::function<int()> wait;
    // Becomes readable at that end. Closed if there is nothing to wait for, or no descriptor is
    // free.
    Descriptor end = {};
};

// Starts a command line. One that names a program in an application's folder below "/Applications/"
// starts that program in the background, and the shell ends at once; the result is 4 where the
// program does not exist.
[[nodiscard]] Started executeCommand(const QString& text);

// Starts any command line in the foreground. Unlike the other operation it logs no status.
[[nodiscard]] Started executeApplication(const QString& text);

// The first word of a command line. A blank between quotes or after a backslash belongs to the
// word; the quotes and the backslash stay in it. A quote after a backslash is still a quote.
[[nodiscard]] QString getCommand(QStringView command);

} // namespace RemoteCommands

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What the program does for whoever calls it in a terminal or a script: before anything of the
// desktop is opened, and in the user's language. Errors go to standard error.
//
// Exit statuses: 0 done; 1 it could not be done, or something is wrong; 2 the command line is
// wrong; 3 started by the keeper, while an agent runs in this desktop session.
namespace CommandLine {

// Does what the arguments (without the program's name) ask for, and returns the exit status; none
// where they ask for the agent itself. Before any other thread exists.
[[nodiscard]] std::optional<int> run(const QStringList& arguments);

// For an agent that is not to be the second one of a desktop session: shows the first one's window,
// says so, and returns the exit status.
[[nodiscard]] int showRunningAgent(const QStringList& arguments);

// Says that there is no display, with the toolkit's reason.
void sayNoDisplay(const QString& reason);

} // namespace CommandLine

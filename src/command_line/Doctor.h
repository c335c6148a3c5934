#pragma once

#include <QStringList>

class CommandTexts;

// Looks for what keeps the agent from working or being seen, on this machine, for the person who
// asks and in the desktop session that the environment names. Changes nothing and writes no log.
namespace Doctor {

// Prints a line for each cause, with its remedy, or one that nothing was found. Returns the exit
// status: 1 where something is wrong. The arguments are the program's own; "port=N" says where the
// service is expected. Takes at most four seconds where display and buses hang. Before any other
// thread exists.
[[nodiscard]] int examine(const CommandTexts& texts, const QStringList& arguments);

} // namespace Doctor

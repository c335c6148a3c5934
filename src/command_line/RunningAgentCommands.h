#pragma once

#include <QString>

class CommandTexts;

// Commands to the agent that runs in this desktop session, over the session bus. Each prints its
// result, and returns the exit status (see CommandLine).
namespace RunningAgentCommands {

// Whether the machine is linked, to which gateway, and who is in session: a line each, or the
// agent's JSON text. 1 where no agent answers.
[[nodiscard]] int status(const CommandTexts& texts, bool isJson);

// Ends the session of that number; 1 where there is none or no agent answers, 2 where the text is
// no number.
[[nodiscard]] int endSession(const CommandTexts& texts, const QString& number);

} // namespace RunningAgentCommands

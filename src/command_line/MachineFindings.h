#pragma once

#include "command_line/Finding.h"

#include <QStringList>

// What is wrong with the agent's files and its service, as seen by the account that asks.
namespace MachineFindings {

// The application folder, and the options of those who ship and deploy the program.
[[nodiscard]] Findings installation(const CommandTexts& texts);

// The preferences directory, and what it holds: the settings file and the allowed settings.
[[nodiscard]] Findings enrolment(const CommandTexts& texts);

[[nodiscard]] Findings logs(const CommandTexts& texts);

// Who listens at the service's port. The arguments are the program's.
[[nodiscard]] Findings service(const CommandTexts& texts, const QStringList& arguments);

} // namespace MachineFindings

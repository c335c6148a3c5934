#pragma once

#include "command_line/Finding.h"

// What is wrong with the desktop session in which the agent would be started, and whether one runs
// there.
namespace DesktopFindings {

// Where root asks outside of any desktop (over SSH, from configuration management) nothing of this
// is wrong, and one line says that it was not looked at. Before any other thread exists.
[[nodiscard]] Findings all(const CommandTexts& texts);

} // namespace DesktopFindings

#pragma once

class Terminal;
struct Invocation;

// Enrols the machine without the window and before any agent was started. Only for root. Each
// prints its result, and returns the exit status (see CommandLine).
namespace Enrolling {

// Writes the settings file, root's and readable for all, whole or not at all. By the entry's form
// it is a session code or an account identifier; an empty region is production. What the service
// has stored for the account before goes, as it does where the window enrols.
[[nodiscard]] int enrol(const Terminal& terminal, const Invocation& invocation);

// Removes the settings file, and what the service has stored for the account.
[[nodiscard]] int unenrol(const Terminal& terminal, const Invocation& invocation);

} // namespace Enrolling

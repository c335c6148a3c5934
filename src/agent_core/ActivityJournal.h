#pragma once

struct Activity;

// The entries of the system's journal by which an administrator can ask who was in session, who was
// let in by whom, and which commands ran. packaging/vantoryAgent.catalog explains them. Main
// thread.
namespace ActivityJournal {

// One entry: no text of a message, and of a command the first 256 characters.
void tell(const Activity& activity);

} // namespace ActivityJournal

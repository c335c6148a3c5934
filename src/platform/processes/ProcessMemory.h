#pragma once

// The memory of this process, in which a password may be.
namespace ProcessMemory {

// From now on the system writes no core file of this process, and only root can trace it or read
// its memory: no other program of the same account. The programs that it starts are as usual. At
// the very start: who has opened the memory before can read on.
void hide();

} // namespace ProcessMemory

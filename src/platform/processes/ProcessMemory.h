#pragma once

// The memory of this process, in which a password may be.
namespace ProcessMemory {

// From now on the system writes no core file of this process, and only root can trace it or read
// its memory: no other program of the same account. The programs that it starts are as usual. At
// the very start: who has opened the memory before can read on.
void hide();

// All threads share one heap; by default each has its own, whose free memory the others can't use.
// Before there are other threads. For a program that asks for memory seldom: its threads wait for
// each other then.
void useOneHeap();

} // namespace ProcessMemory

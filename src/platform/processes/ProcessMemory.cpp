#include "platform/processes/ProcessMemory.h"

#include <malloc.h>
#include <sys/prctl.h>

void ProcessMemory::hide()
{
    // Not the limit of core files: a child would inherit it, and a core_pattern that is a pipe does
    // not ask for it.
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

void ProcessMemory::useOneHeap()
{
    ::mallopt(M_ARENA_MAX, 1);
}

#include "platform/processes/ProgramEnd.h"

#include <unistd.h>

void endProgram(int status)
{
    ::_exit(status);
}

void waitForProgramEnd()
{
    for (;;) {
        ::pause();
    }
}

// In a file of its own: test programs that replace endProgram() still link this function.
#include "platform/processes/ProgramEnd.h"

#include <QByteArray>

#include <cstdlib>

#include <unistd.h>

void abortProgram(const QByteArray& line)
{
    [[maybe_unused]] const auto written =
        ::write(STDERR_FILENO, line.constData(), static_cast<std::size_t>(line.size()));
    std::abort();
}

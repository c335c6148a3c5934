#include "keeper/Keeper.h"

using namespace std::chrono_literals;

int main(int argc, char* argv[])
{
    QStringList arguments;
    for (int index = 1; index < argc; ++index) {
        arguments.push_back(QString::fromUtf8(argv[index]));
    }
    Keeper(arguments, {.betweenLooks = 100ms,
                       .besideAnother = 1min,
                       .forDisplay = 1s,
                       .forScope = 1min,
                       .forAgentsEnd = 1s})
        .run();
}

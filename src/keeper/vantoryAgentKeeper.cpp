#include "keeper/Keeper.h"

int main(int argc, char* argv[])
{
    QStringList arguments;
    for (int index = 1; index < argc; ++index) {
        arguments.push_back(QString::fromUtf8(argv[index]));
    }
    Keeper(arguments, {}).run();
}

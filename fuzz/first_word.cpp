// The first word of a command line of the service.
#include "service_link/RemoteCommands.h"
#include "support/Fuzzing.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString line = QString::fromUtf8(viewOf(data, size));
    const QString word = RemoteCommands::getCommand(line);
    require(line.startsWith(word), "the word begins the line");
    require(RemoteCommands::getCommand(word) == word, "the word is its own first word");
    const bool hasSpecial = word.contains(u'\'') || word.contains(u'"') || word.contains(u'\\');
    require(hasSpecial || !word.contains(u' '), "a blank is quoted or escaped");
    require(hasSpecial || word == line.section(u' ', 0, 0), "a plain word ends at a blank");
    return 0;
}

#include "agent_core/SettingsCommands.h"

#include "platform/processes/SystemPrograms.h"

#include <QStringView>

#include <vector>

using namespace Qt::StringLiterals;
using namespace SystemPrograms;

namespace {

using Pieces = std::vector<QStringView>;

// A command that runs as root: a sudo that becomes the named account, and within it a sudo that
// becomes root, with the password on their input. To become oneself takes no password, so the
// second one reads it. The shell's own "echo" writes it: a program would have it as an argument.
Pieces asRoot(const Credentials& credentials)
{
    return {u"echo \"", credentials.password, u"\" | ",  kSudo,
            u" -u \"",  credentials.user,     u"\" -S ", kSudo,
            u" -S "};
}

// In one piece of memory, so that no other copy is left when the line is wiped.
QString joined(std::initializer_list<Pieces> groups)
{
    qsizetype size = 0;
    for (const Pieces& pieces : groups) {
        for (const QStringView piece : pieces) {
            size += piece.size();
        }
    }
    QString line;
    line.reserve(size);
    for (const Pieces& pieces : groups) {
        for (const QStringView piece : pieces) {
            line.append(piece);
        }
    }
    return line;
}

} // namespace

QStringList SettingsCommands::shellArguments()
{
    return {u"--norc"_s, u"-p"_s, u"-c"_s, u"umask 022; eval \"$(</dev/stdin)\" </dev/null"_s};
}

QString SettingsCommands::remove(const Credentials& credentials, const QString& path)
{
    return joined({asRoot(credentials), {kRm, u" \"", path, u"\""}});
}

QString SettingsCommands::write(const Credentials& credentials, const QString& text,
                                const QString& path, const QString& chown)
{
    return joined({asRoot(credentials),
                   {kEcho, u" \"", text, u"\" > ", path, u" ; "},
                   asRoot(credentials),
                   {chown, u" root  ", path}});
}

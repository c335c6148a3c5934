#include "platform/accounts/Account.h"
#include "simulator/AgentLink.h"
#include "simulator/Console.h"
#include "simulator/Player.h"
#include "simulator/Script.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

// A stand-in for the support service in demos and tests. A person at the terminal or a script says
// what it does.

namespace {

constexpr int kCannotBegin = 2; // exit status

struct Options {
    quint16 port = 0;
    QString scriptFile; // empty: lines are typed
    QDir screenshots;
    std::optional<QString> agentAccount; // none: anybody's
};

constexpr QStringView kIntroduction =
    u"Stands in for the service that the agent is linked to, on 127.0.0.1.\n\n"
    "Without a script, lines are read from standard input until it ends. A line that begins with\n"
    "a script command is carried out, any other is sent as it is.\n\n";
constexpr QStringView kRemarks =
    u"\n\"<- \" is a message from the agent, \"-> \" one to it, \"   \" a step, \"!! \" a "
    u"failure.\n"
    "Exit status: 0, 1 when a step failed, 2 when nothing could be begun. Screenshots are taken\n"
    "by $VANTORY_SCREENSHOT_COMMAND with the file's path after it, else by\n"
    "\"import -window root\".";

// None when the command line is wrong.
std::optional<Options> readOptions()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(kIntroduction.toString() + scriptHelp() + kRemarks.toString());
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Show this."_s);
    parser.addOption(help);
    parser.addOption({u"port"_s, u"Port to listen on; 0: a free one."_s, u"N"_s, u"0"_s});
    parser.addOption({u"script"_s, u"Play this script."_s, u"FILE"_s});
    parser.addOption({u"screenshots"_s, u"Folder for screenshots."_s, u"DIR"_s, u"."_s});
    parser.addOption(
        {u"agent-account"_s, u"Whose agent may connect."_s, u"NAME"_s, Account::loginName()});
    parser.addOption(
        {u"hear-anybody"_s, u"Be a wrong service, which does not ask who connects."_s});
    if (!parser.parse(QCoreApplication::arguments())) {
        return std::nullopt;
    }
    if (parser.isSet(help)) {
        parser.showHelp(); // ends the program
    }

    bool isPort = false;
    const Options options{.port = parser.value(u"port"_s).toUShort(&isPort),
                          .scriptFile = parser.value(u"script"_s),
                          .screenshots = QDir(parser.value(u"screenshots"_s)),
                          .agentAccount = parser.isSet(u"hear-anybody"_s)
                                              ? std::nullopt
                                              : std::optional(parser.value(u"agent-account"_s))};
    if (!isPort || !parser.positionalArguments().isEmpty()) {
        return std::nullopt;
    }
    return options;
}

Script readScript(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return {{}, {u"%1: %2"_s.arg(fileName, file.errorString())}};
    }
    return parseScript(QString::fromUtf8(file.readAll()), fileName);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    Console console;
    const std::optional<Options> options = readOptions();
    if (!options) {
        console.print(Voice::Failure, u"wrong arguments; see --help"_s);
        return kCannotBegin;
    }
    const bool isScripted = !options->scriptFile.isEmpty();
    const Script script = isScripted ? readScript(options->scriptFile) : Script();
    for (const QString& error : script.errors) {
        console.print(Voice::Failure, error);
    }
    if (!script.errors.isEmpty()) {
        return kCannotBegin;
    }

    AgentLink link(options->agentAccount);
    if (!link.listen(options->port)) {
        console.print(Voice::Failure, u"port %1: %2"_s.arg(options->port).arg(link.listenError()));
        return kCannotBegin;
    }
    std::printf("listening on port %d\n", int{link.port()});
    std::fflush(stdout);
    qputenv("VANTORY_SIMULATOR_PORT", QByteArray::number(link.port()));

    Player player(link, isScripted ? Player::OnFailure::Stop : Player::OnFailure::GoOn,
                  options->screenshots);
    QObject::connect(&player, &Player::said, &console, &Console::print);
    QObject::connect(&player, &Player::finished, &application, &QCoreApplication::exit);
    if (isScripted) {
        for (const Step& step : script.steps) {
            player.add(step);
        }
        player.finish();
    } else {
        QObject::connect(&console, &Console::typed, &player, [&](const QString& line) {
            const ParsedLine parsed = parseTypedLine(line);
            if (parsed.step) {
                player.add(*parsed.step);
            } else if (!parsed.error.isEmpty()) {
                console.print(Voice::Failure, parsed.error);
            }
        });
        QObject::connect(&console, &Console::inputEnded, &player, &Player::finish);
        console.startReading();
    }
    return QCoreApplication::exec();
}

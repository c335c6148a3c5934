#include "command_line/CommandLine.h"

#include "command_line/CommandTexts.h"
#include "command_line/Doctor.h"
#include "command_line/Enrolling.h"
#include "command_line/Invocation.h"
#include "command_line/RunningAgentCommands.h"
#include "command_line/Terminal.h"
#include "platform/bus/RunningAgent.h"
#include "platform/files/MainBundle.h"
#include "settings/ServicePort.h"

using namespace Qt::StringLiterals;

namespace {

using Command = Invocation::Command;

const QString kProgram = u"vantoryAgent"_s;

constexpr int kDone = 0;
constexpr int kUsage = 2;
constexpr int kAnotherRuns = 3;

struct Line {
    QLatin1StringView option;
    QLatin1StringView key;
};

const Line kHelp[] = {
    {"port=N"_L1, "help.port"_L1},          {"--status"_L1, "help.status"_L1},
    {"--json"_L1, "help.json"_L1},          {"--end-session NUMBER"_L1, "help.endSession"_L1},
    {"--doctor"_L1, "help.doctor"_L1},      {"--enrol CODE|ACCOUNT"_L1, "help.enrol"_L1},
    {"--region NAME"_L1, "help.region"_L1}, {"--unenrol"_L1, "help.unenrol"_L1},
    {"--version"_L1, "help.version"_L1},    {"--help"_L1, "help.help"_L1},
};

int help(const CommandTexts& texts)
{
    Terminal::print(texts.text("help.usage"_L1, {kProgram}));
    Terminal::print(texts.text("help.purpose"_L1));
    Terminal::print(QString());
    for (const auto& [option, key] : kHelp) {
        Terminal::print(u"  "_s + QString(option).leftJustified(22) + texts.text(key));
    }
    return kDone;
}

int version()
{
    const auto value = [](const QString& key) { return MainBundle::infoValue(key).toString(); };
    Terminal::print(u"%1 %2 (%3)"_s.arg(kProgram, value(u"CFBundleShortVersionString"_s),
                                        value(u"CFBundleVersion"_s)));
    return kDone;
}

int fault(const CommandTexts& texts, QLatin1StringView key, const QString& option)
{
    Terminal::complain(texts.text(key, {option, kProgram}));
    return kUsage;
}

} // namespace

std::optional<int> CommandLine::run(const QStringList& arguments)
{
    const Invocation asked = Invocation::of(arguments);
    if (asked.command == Command::Start) {
        const QString invalid = PortArgument::of(arguments).invalid;
        if (!invalid.isEmpty()) {
            Terminal::complain(CommandTexts().text("usage.badPort"_L1, {invalid}));
        }
        return std::nullopt;
    }
    const CommandTexts texts;
    switch (asked.command) {
    case Command::Help:
        return help(texts);
    case Command::Version:
        return version();
    case Command::Status:
        return RunningAgentCommands::status(texts, asked.isJson);
    case Command::EndSession:
        return RunningAgentCommands::endSession(texts, asked.value);
    case Command::Doctor:
        return Doctor::examine(texts, arguments);
    case Command::Enrol:
        return Enrolling::enrol(texts, asked.value, asked.region);
    case Command::Unenrol:
        return Enrolling::unenrol(texts);
    case Command::WrongUse:
        return fault(texts, "usage.wrongUse"_L1, asked.value);
    case Command::UnknownOption:
    case Command::Start:
        break;
    }
    return fault(texts, "usage.unknownOption"_L1, asked.value);
}

int CommandLine::showRunningAgent(const QStringList& arguments)
{
    if (Invocation::of(arguments).isKept) {
        return kAnotherRuns;
    }
    const CommandTexts texts;
    const auto running = RunningAgent::present();
    const auto port = PortArgument::of(arguments).port;
    if (!running) {
        Terminal::complain(texts.text("start.noAnswer"_L1));
    } else if (port && *port != *running) {
        Terminal::complain(
            texts.text("start.otherPort"_L1, {QString::number(*running), QString::number(*port)}));
    } else {
        Terminal::print(texts.text("start.alreadyRuns"_L1));
    }
    return kDone;
}

void CommandLine::sayNoDisplay(const QString& reason)
{
    Terminal::complain(CommandTexts().text("start.noDisplay"_L1, {reason}));
}

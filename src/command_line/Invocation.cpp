#include "command_line/Invocation.h"

#include <QCommandLineParser>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

using Command = Invocation::Command;

const std::pair<QLatin1StringView, Command> kCommands[] = {
    {"help"_L1, Command::Help},       {"version"_L1, Command::Version},
    {"status"_L1, Command::Status},   {"end-session"_L1, Command::EndSession},
    {"doctor"_L1, Command::Doctor},   {"enrol"_L1, Command::Enrol},
    {"unenrol"_L1, Command::Unenrol},
};

bool hasValue(Command command)
{
    return command == Command::EndSession || command == Command::Enrol;
}

// Options that the toolkit takes for itself, and of which session managers, desktops and developers
// make use.
void addToolkitOptions(QCommandLineParser& parser)
{
    for (const char* name : {"platform", "platformpluginpath", "platformtheme", "plugin", "display",
                             "name", "title", "icon", "geometry", "qwindowgeometry", "qwindowtitle",
                             "qwindowicon", "style", "stylesheet", "session", "font", "fn"}) {
        parser.addOption(QCommandLineOption(QString::fromLatin1(name), QString(), u"value"_s));
    }
    for (const char* name : {"reverse", "sync", "nograb", "dograb", "widgetcount"}) {
        parser.addOption(QCommandLineOption(QString::fromLatin1(name)));
    }
}

Invocation fault(Command kind, const QString& option)
{
    Invocation result;
    result.command = kind;
    result.value = option;
    return result;
}

QString optionName(const QString& argument)
{
    return argument.section(u'=', 0, 0);
}

} // namespace

Invocation Invocation::of(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    for (const auto& [name, command] : kCommands) {
        parser.addOption(QCommandLineOption(QString(name), QString(),
                                            hasValue(command) ? u"value"_s : QString()));
    }
    const QCommandLineOption json(u"json"_s);
    const QCommandLineOption kept(u"kept"_s);
    const QCommandLineOption region(u"region"_s, QString(), u"name"_s);
    parser.addOptions({json, kept, region});
    addToolkitOptions(parser);

    if (!parser.parse(QStringList(QString()) + arguments)) {
        const QStringList unknown = parser.unknownOptionNames();
        const bool isUnknown = !unknown.isEmpty();
        const auto isOption = [&](const QString& argument) {
            return argument.startsWith(u'-') &&
                   (!isUnknown || optionName(argument).endsWith(unknown.constFirst()));
        };
        // The last one where a value is missing.
        const auto at = std::find_if(arguments.crbegin(), arguments.crend(), isOption);
        return fault(isUnknown ? Command::UnknownOption : Command::WrongUse,
                     at == arguments.crend() ? QString() : optionName(*at));
    }
    Invocation result;
    result.isJson = parser.isSet(json);
    result.isKept = parser.isSet(kept);
    result.region = parser.value(region);
    for (const auto& [name, command] : kCommands) {
        if (!parser.isSet(QString(name))) {
            continue;
        }
        if (result.command != Command::Start) {
            return fault(Command::WrongUse, u"--"_s + name);
        }
        result.command = command;
        result.value = hasValue(command) ? parser.value(QString(name)) : QString();
    }
    if (result.isJson && result.command != Command::Status) {
        return fault(Command::WrongUse, u"--json"_s);
    }
    if (parser.isSet(region) && result.command != Command::Enrol) {
        return fault(Command::WrongUse, u"--region"_s);
    }
    return result;
}

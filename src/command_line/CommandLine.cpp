#include "command_line/CommandLine.h"

#include "command_line/Doctor.h"
#include "command_line/Enrolling.h"
#include "command_line/Invocation.h"
#include "command_line/Terminal.h"
#include "localisation/ShownText.h"
#include "localisation/Translate.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/bus/RunningAgent.h"
#include "platform/files/Json.h"
#include "platform/files/MainBundle.h"
#include "records/Activity.h"
#include "settings/ServicePort.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QLocale>

#include <chrono>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

using Run = int (*)(const Terminal& terminal, const Invocation& invocation);

// An option of the command line.
struct Option {
    QLatin1StringView name;
    QLatin1StringView value; // as the help calls it; empty for an option without one
    QLatin1StringView help;
    Run run; // none for an option that goes with a command:
    QLatin1StringView commands = {};
};

namespace {

const QString kProgram = u"vantoryAgent"_s;

constexpr qsizetype kLongestLine = 500;

int printVersion(const Terminal&, const Invocation&)
{
    const auto version = MainBundle::infoText(u"CFBundleShortVersionString"_s);
    const auto build = MainBundle::infoText(u"CFBundleVersion"_s);
    Terminal::print(
        u"%1 %2 (%3)"_s.arg(kProgram, version.value_or(QString()), build.value_or(QString())));
    return Terminal::Done;
}

void printSession(const Terminal& terminal, const QJsonObject& session)
{
    const QString name = session["name"_L1].toString();
    const QString device = session["device"_L1].toString();
    const QString who = device.isEmpty() ? name : name + u" ("_s + device + u')';
    const auto began = QDateTime::fromString(session["began"_L1].toString(), Qt::ISODate);
    terminal.say(began.isValid() ? "status.session"_L1 : "status.sessionWithoutTime"_L1,
                 {QString::number(session["session"_L1].toInteger()), who,
                  QLocale::system().toString(began.toLocalTime(), QLocale::ShortFormat)});
}

// What the running agent has replied; empty where none replies.
QJsonObject objectOf(const QByteArray& reply)
{
    return readJson(reply).object.value_or(QJsonObject());
}

int printStatus(const Terminal& terminal, const Invocation& invocation)
{
    const QByteArray reply = RunningAgent::status();
    const QJsonObject status = objectOf(reply);
    const bool isRunning = status["running"_L1].toBool();
    if (invocation.isJson) {
        Terminal::print(isRunning ? QString::fromUtf8(reply) : u"{\"running\":false}"_s);
        return isRunning ? Terminal::Done : Terminal::Failed;
    }
    if (!isRunning) {
        return terminal.printError("status.notRunning"_L1);
    }
    terminal.say(status["linked"_L1].toBool() ? "status.linked"_L1 : "status.notLinked"_L1,
                 {status["gateway"_L1].toString()});
    const QJsonArray sessions = status["sessions"_L1].toArray();
    for (const QJsonValue& session : sessions) {
        printSession(terminal, session.toObject());
    }
    return sessions.isEmpty() ? terminal.say("status.noSession"_L1) : Terminal::Done;
}

int printHistory(const Terminal& terminal, const Invocation& invocation)
{
    const QByteArray reply = RunningAgent::history();
    const QJsonObject history = objectOf(reply);
    if (history.isEmpty()) {
        return terminal.printError("status.notRunning"_L1);
    }
    if (invocation.isJson) {
        Terminal::print(QString::fromUtf8(reply));
        return Terminal::Done;
    }
    const auto labels = labelsOf(languageFor(preferredLanguages())).value_or(englishFallback());
    const auto print = [](const QDateTime& time, const QString& text) {
        Terminal::print(QLocale::system().toString(time.toLocalTime(), QLocale::ShortFormat) +
                        u"  "_s + ShownText::line(text, kLongestLine));
    };
    print(QDateTime::fromString(history["since"_L1].toString(), Qt::ISODateWithMs),
          labels.Activity.since);
    const QJsonArray entries = history["entries"_L1].toArray();
    for (const QJsonValue& entry : entries) {
        if (const auto activity = Activity::fromJson(entry.toObject())) {
            const QString status = activity->statusText(labels);
            print(activity->time, activity->event(labels) +
                                      (status.isEmpty() ? status : u" ("_s + status + u')') +
                                      u": "_s + activity->details());
        }
    }
    return Terminal::Done;
}

int endSession(const Terminal& terminal, const Invocation& invocation)
{
    const QString& number = invocation.value;
    bool isNumber = false;
    const qint64 session = number.toLongLong(&isNumber);
    if (!isNumber) {
        return terminal.printError("usage.wrongUse"_L1, {u"--end-session "_s + number, kProgram},
                                   Terminal::WrongUse);
    }
    const auto isEnded = RunningAgent::endSession(session);
    if (!isEnded) {
        return terminal.printError("status.notRunning"_L1);
    }
    return *isEnded ? terminal.say("end.done"_L1, {number})
                    : terminal.printError("end.unknown"_L1, {number});
}

QList<qint64> sessionsIn(const QJsonObject& status)
{
    QList<qint64> numbers;
    const QJsonArray sessions = status["sessions"_L1].toArray();
    for (const QJsonValue& session : sessions) {
        numbers.append(session["session"_L1].toInteger());
    }
    return numbers;
}

int endAllSessions(const Terminal& terminal, const Invocation&)
{
    const QJsonObject status = objectOf(RunningAgent::status());
    if (status.isEmpty()) {
        return terminal.printError("status.notRunning"_L1);
    }
    const QList<qint64> sessions = sessionsIn(status);
    bool isSilent = false;
    for (const qint64 session : sessions) {
        const auto isEnded = RunningAgent::endSession(session);
        if (isEnded == true) {
            terminal.say("end.done"_L1, {QString::number(session)});
        }
        isSilent = isSilent || !isEnded;
    }
    if (sessions.isEmpty()) {
        return terminal.say("status.noSession"_L1);
    }
    // By then the service has reported a session again that it has not ended.
    constexpr std::chrono::seconds kUntilReported(5);
    std::this_thread::sleep_for(kUntilReported);
    const QJsonObject later = objectOf(RunningAgent::status());
    QList<qint64> again = sessionsIn(later);
    again.removeIf([&](qint64 session) { return !sessions.contains(session); });
    for (const qint64 session : std::as_const(again)) {
        terminal.printError("end.again"_L1, {QString::number(session)});
    }
    if (isSilent || later.isEmpty()) {
        return terminal.printError("status.notRunning"_L1);
    }
    return again.isEmpty() ? Terminal::Done : Terminal::Failed;
}

int printHelp(const Terminal& terminal, const Invocation&);

// In the help's order.
const Option kOptions[] = {
    {"status"_L1, {}, "help.status"_L1, &printStatus},
    {"history"_L1, {}, "help.history"_L1, &printHistory},
    {"json"_L1, {}, "help.json"_L1, nullptr, "status history"_L1},
    {"end-session"_L1, "NUMBER"_L1, "help.endSession"_L1, &endSession},
    {"end-all-sessions"_L1, {}, "help.endAll"_L1, &endAllSessions},
    {"doctor"_L1, {}, "help.doctor"_L1, &Doctor::examine},
    {"enrol"_L1, "CODE|ACCOUNT"_L1, "help.enrol"_L1, &Enrolling::enrol},
    {"region"_L1, "NAME"_L1, "help.region"_L1, nullptr, "enrol"_L1},
    {"unenrol"_L1, {}, "help.unenrol"_L1, &Enrolling::unenrol},
    {"version"_L1, {}, "help.version"_L1, &printVersion},
    {"help"_L1, {}, "help.help"_L1, &printHelp},
};

int printHelp(const Terminal& terminal, const Invocation&)
{
    const auto printOption = [&](const QString& option, QLatin1StringView help) {
        Terminal::print(u"  "_s + option.leftJustified(22) + terminal.text(help));
    };
    terminal.say("help.usage"_L1, {kProgram});
    terminal.say("help.purpose"_L1);
    Terminal::print(QString());
    printOption(u"port=N"_s, "help.port"_L1);
    for (const Option& option : kOptions) {
        printOption(u"--%1 %2"_s.arg(option.name, option.value), option.help);
    }
    return Terminal::Done;
}

void addOptions(QCommandLineParser& parser)
{
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    for (const Option& option : kOptions) {
        parser.addOption(QCommandLineOption(QString(option.name), QString(), option.value));
    }
    parser.addOption(QCommandLineOption(u"kept"_s));
    // The toolkit's own, of which session managers, desktops and developers make use: for the
    // parser one option with many names.
    parser.addOption({u"platform platformpluginpath platformtheme plugin display name title icon "
                      "geometry qwindowgeometry qwindowtitle qwindowicon style stylesheet session "
                      "font fn"_s.split(u' '),
                      QString(), u"value"_s});
    parser.addOption(QCommandLineOption(u"reverse sync nograb dograb widgetcount"_s.split(u' ')));
}

// Words that are no option belong to the agent ("port=N") or to nobody, and are no error.
Invocation invocationOf(const QStringList& arguments)
{
    QCommandLineParser parser;
    addOptions(parser);
    Invocation invocation;
    invocation.arguments = arguments;
    const auto invalid = [&](const QString& option, QLatin1StringView error) {
        invocation.error = error;
        invocation.value = option;
        return invocation;
    };
    if (!parser.parse(QStringList(QString()) + arguments)) {
        const QStringList unknown = parser.unknownOptionNames();
        QString wrong; // the last one where a value is missing
        for (const QString& argument : arguments) {
            const QString name = argument.section(u'=', 0, 0);
            const bool isMeant = unknown.isEmpty() || name.endsWith(unknown.constFirst());
            wrong = name.startsWith(u'-') && isMeant ? name : wrong;
        }
        return invalid(wrong, unknown.isEmpty() ? "usage.wrongUse"_L1 : "usage.unknownOption"_L1);
    }
    invocation.isJson = parser.isSet(u"json"_s);
    invocation.isKept = parser.isSet(u"kept"_s);
    invocation.region = parser.value(u"region"_s);
    for (const Option& option : kOptions) {
        if (option.run == nullptr || !parser.isSet(QString(option.name))) {
            continue;
        }
        if (invocation.command != nullptr) {
            return invalid(u"--"_s + option.name, "usage.wrongUse"_L1);
        }
        invocation.command = &option;
        invocation.value = option.value.isEmpty() ? QString() : parser.value(QString(option.name));
    }
    const QLatin1StringView command =
        invocation.command != nullptr ? invocation.command->name : ""_L1;
    for (const Option& option : kOptions) {
        if (option.run == nullptr && parser.isSet(QString(option.name)) &&
            !QString(option.commands).split(u' ').contains(command)) {
            return invalid(u"--"_s + option.name, "usage.wrongUse"_L1);
        }
    }
    return invocation;
}

} // namespace

std::optional<int> CommandLine::run(const QStringList& arguments)
{
    const Invocation invocation = invocationOf(arguments);
    if (!invocation.error.isEmpty()) {
        return Terminal().printError(invocation.error, {invocation.value, kProgram},
                                     Terminal::WrongUse);
    }
    if (invocation.command != nullptr) {
        const int status = invocation.command->run(Terminal(), invocation);
        return status == Terminal::Done && !Terminal::isWritten() ? Terminal::Failed : status;
    }
    const QString invalid = PortArgument::of(arguments).invalid;
    if (!invalid.isEmpty()) {
        Terminal().printError("usage.badPort"_L1, {invalid});
    }
    return std::nullopt;
}

int CommandLine::showRunningAgent(const QStringList& arguments)
{
    if (invocationOf(arguments).isKept) {
        return Terminal::AnotherRuns;
    }
    const Terminal terminal;
    const auto running = RunningAgent::present();
    const auto port = PortArgument::of(arguments).port;
    if (!running) {
        terminal.printError("start.noAnswer"_L1);
    } else if (port && *port != *running) {
        terminal.printError("start.otherPort"_L1,
                            {QString::number(*running), QString::number(*port)});
    } else {
        terminal.say("start.alreadyRuns"_L1);
    }
    return Terminal::Done;
}

void CommandLine::sayNoDisplay(const QString& reason)
{
    Terminal().printError("start.noDisplay"_L1, {reason});
}

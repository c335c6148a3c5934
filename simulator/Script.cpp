#include "simulator/Script.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

using std::chrono::milliseconds;
using enum Step::Kind;

enum class Argument { None, Text, Pattern, Time, Name, Line };

constexpr milliseconds kNone{0};
constexpr milliseconds kMessageTime{5000};
constexpr milliseconds kLinkTime{30000};

struct Command {
    QStringView name;
    Step::Kind kind;
    Argument argument;
    QStringView usage;
    QStringView meaning;
    milliseconds defaultLimit = kNone;
    QStringView limit = {}; // the word before a time at the line's end, if it takes one
};

constexpr std::array<Command, 12> kCommands = {{
    {u"accept", Accept, Argument::None, u"[within SECONDS]",
     u"wait for the agent's link (30 s); implied where a first step needs a link", kLinkTime,
     u"within"},
    {u"send", Send, Argument::Text, u"TEXT", u"send TEXT as one message", kMessageTime},
    {u"expect", Expect, Argument::Pattern, u"TEXT|/REGEX/ [within SECONDS]",
     u"take the agent's next message (5 s); it must be this one", kMessageTime, u"within"},
    {u"expect-end", ExpectEnd, Argument::None, u"[within SECONDS]",
     u"the agent closes the link (5 s) and sends nothing before", kMessageTime, u"within"},
    {u"refuse", Refuse, Argument::Pattern, u"TEXT|/REGEX/ for SECONDS",
     u"fail if such a message waits or comes; others are left for \"expect\"", kNone, u"for"},
    {u"ignore", Ignore, Argument::Pattern, u"TEXT|/REGEX/",
     u"from now on no step sees such messages, nor those that wait"},
    {u"wait", Wait, Argument::Time, u"SECONDS", u"do nothing"},
    {u"screenshot", Screenshot, Argument::Name, u"NAME",
     u"write NN-NAME.png; without a DISPLAY only say so"},
    {u"run", Run, Argument::Line, u"COMMAND LINE",
     u"/bin/sh -c; must end with status 0; $VANTORY_SIMULATOR_PORT is set"},
    {u"say", Say, Argument::Line, u"TEXT", u"print TEXT"},
    {u"close", Close, Argument::None, u"", u"close the link, and read what still comes",
     kMessageTime},
    {u"reset", Reset, Argument::None, u"", u"reset the link; what the agent has not read is lost"},
}};

constexpr QStringView kHelpEnd =
    u"  # COMMENT\n\n"
    "TEXT is a whole message to the letter, the agent's with ##### in front. Escapes: \\n, \\t,\n"
    "\\\\, \\xHH (a byte). Blanks at its ends are dropped unless written \\x20. REGEX is found\n"
    "anywhere in a message. SECONDS may have a fraction.\n\n"
    "The agent's messages wait in their order until a step takes them. The first step that fails\n"
    "ends a script. If the agent leaves and no step expects that, the script fails at its end.\n"
    "At the end the link is closed.\n";

// The characters behind a backslash, and what each stands for.
constexpr QStringView kEscapes = u"nt\\";
constexpr QStringView kEscaped = u"\n\t\\";

QString firstWord(const QString& line)
{
    static const QRegularExpression blank(u"\\s"_s);
    return line.section(blank, 0, 0);
}

const Command* findCommand(const QString& name)
{
    const auto found = std::ranges::find(kCommands, QStringView(name), &Command::name);
    return found == kCommands.end() ? nullptr : &*found;
}

// Reads one command's line. Of several errors the first is told.
class LineReader {
public:
    ParsedLine read(const Command& command, const QString& line)
    {
        QString rest = line.sliced(command.name.size()).trimmed();
        Step step;
        step.kind = command.kind;
        step.source = line;
        step.time = takeLimit(command, rest);
        if (rest.isEmpty() != (command.argument == Argument::None)) {
            failUsage(command);
        }
        switch (command.argument) {
        case Argument::None:
            break;
        case Argument::Text:
            step.message = message(rest);
            break;
        case Argument::Pattern:
            step.pattern = pattern(rest);
            break;
        case Argument::Time:
            step.time = seconds(rest);
            break;
        case Argument::Name:
            step.text = pictureName(rest);
            break;
        case Argument::Line:
            step.text = rest;
            break;
        }
        return m_error.isEmpty() ? ParsedLine{step, {}} : ParsedLine{std::nullopt, m_error};
    }

private:
    void fail(const QString& error)
    {
        if (m_error.isEmpty()) {
            m_error = error;
        }
    }

    void failUsage(const Command& command)
    {
        fail(u"usage: %1 %2"_s.arg(command.name, command.usage).trimmed());
    }

    // Cuts "within SECONDS" or "for SECONDS" off the end of the rest.
    milliseconds takeLimit(const Command& command, QString& rest)
    {
        if (command.limit.isEmpty()) {
            return command.defaultLimit;
        }
        const QRegularExpression limit(u"^(.*\\s)?%1\\s+(\\S+)$"_s.arg(command.limit));
        const QRegularExpressionMatch match = limit.match(rest);
        if (match.hasMatch()) {
            rest = match.captured(1).trimmed();
            return seconds(match.captured(2));
        }
        if (command.defaultLimit == kNone) {
            failUsage(command);
        }
        return command.defaultLimit;
    }

    milliseconds seconds(const QString& text)
    {
        static const QRegularExpression decimal(u"^[0-9]{1,5}(\\.[0-9]{1,6})?$"_s);
        if (!decimal.match(text).hasMatch()) {
            fail(u"\"%1\" is not a number of seconds"_s.arg(text));
        }
        return milliseconds(qRound64(text.toDouble() * 1000));
    }

    QByteArray message(const QString& text)
    {
        static const QRegularExpression escape(u"\\\\(?:([nt\\\\])|x([0-9A-Fa-f]{2}))?"_s);
        QByteArray bytes;
        qsizetype copied = 0;
        for (auto matches = escape.globalMatch(text); matches.hasNext();) {
            const QRegularExpressionMatch match = matches.next();
            bytes += QStringView(text).sliced(copied, match.capturedStart() - copied).toUtf8();
            copied = match.capturedEnd();
            if (match.capturedLength() == 1) {
                fail(u"unknown escape in \"%1\"; a backslash is written \\\\"_s.arg(text));
            } else if (match.hasCaptured(2)) {
                bytes += QByteArray::fromHex(match.captured(2).toLatin1());
            } else {
                bytes += kEscaped[kEscapes.indexOf(match.capturedView(1))].toLatin1();
            }
        }
        return bytes + QStringView(text).sliced(copied).toUtf8();
    }

    Pattern pattern(const QString& text)
    {
        if (text.size() < 2 || !text.startsWith(u'/') || !text.endsWith(u'/')) {
            return {message(text), std::nullopt};
        }
        const QRegularExpression regex(text.sliced(1, text.size() - 2));
        if (!regex.isValid()) {
            fail(u"bad regular expression: %1"_s.arg(regex.errorString()));
        }
        return {{}, regex};
    }

    QString pictureName(const QString& name)
    {
        static const QRegularExpression plain(u"^[A-Za-z0-9_][A-Za-z0-9._-]*$"_s);
        if (!plain.match(name).hasMatch()) {
            fail(u"\"%1\" is not a plain file name"_s.arg(name));
        }
        return name;
    }

    QString m_error;
};

} // namespace

bool Pattern::matches(const QByteArray& message) const
{
    return regex ? regex->match(QString::fromUtf8(message)).hasMatch() : message == text;
}

ParsedLine parseScriptLine(const QString& line)
{
    const QString source = line.trimmed();
    if (source.isEmpty() || source.startsWith(u'#')) {
        return {};
    }
    if (const Command* command = findCommand(firstWord(source))) {
        return LineReader().read(*command, source);
    }
    return {std::nullopt, u"unknown command \"%1\""_s.arg(firstWord(source))};
}

Script parseScript(const QString& text, const QString& fileName)
{
    Script script;
    const QStringList lines = text.split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        ParsedLine parsed = parseScriptLine(lines[i]);
        const QString place = u"%1:%2"_s.arg(fileName).arg(i + 1);
        if (parsed.step) {
            parsed.step->place = place;
            script.steps += *parsed.step;
        } else if (!parsed.error.isEmpty()) {
            script.errors += u"%1: %2"_s.arg(place, parsed.error);
        }
    }
    return script;
}

ParsedLine parseTypedLine(const QString& line)
{
    const QString word = firstWord(line.trimmed());
    if (word.isEmpty() || word.startsWith(u'#') || findCommand(word)) {
        return parseScriptLine(line);
    }
    Step step;
    step.kind = Send;
    step.source = line;
    step.message = line.toUtf8();
    step.time = kMessageTime;
    return {step, {}};
}

QString scriptHelp()
{
    QString help = u"Script commands, one a line:\n"_s;
    for (const Command& command : kCommands) {
        help += u"  %1 %2\n      %3\n"_s.arg(command.name, command.usage, command.meaning);
    }
    return help.append(kHelpEnd);
}

QString scriptText(const QByteArray& message)
{
    QString text;
    for (const QChar character : QString::fromUtf8(message)) {
        const qsizetype escape = kEscaped.indexOf(character);
        if (escape >= 0) {
            text += u'\\';
            text += kEscapes[escape];
        } else if (character < u' ' || character == u'\x7f') {
            text += u"\\x%1"_s.arg(static_cast<uint>(character.unicode()), 2, 16, QChar(u'0'));
        } else {
            text += character;
        }
    }
    return text;
}

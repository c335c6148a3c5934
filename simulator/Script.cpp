#include "simulator/Script.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

using std::chrono::milliseconds;
using enum Step::Kind;

enum class Argument { None, Text, File, Pattern, Time, Name, Line };

struct Command {
    QStringView name;
    Step::Kind kind;
    Argument argument;
    QStringView limit;         // the word before a time at the line's end; empty: takes none
    milliseconds defaultLimit; // 0: must be written
    QStringView usage;
    QStringView meaning;
};

constexpr milliseconds kNone{0};
constexpr milliseconds kMessageTime{5000};
constexpr milliseconds kLinkTime{30000};

constexpr std::array kCommands{
    Command{u"accept", Accept, Argument::None, u"within", kLinkTime, u"[within SECONDS]",
            u"wait for the agent's link (30 s); implied where a first step needs a link"},
    Command{u"send", Send, Argument::Text, u"", kMessageTime, u"TEXT", u"send TEXT as one message"},
    Command{u"sendfile", Send, Argument::File, u"", kMessageTime, u"PATH",
            u"send the file as one message; read with the script, from its folder"},
    Command{u"expect", Expect, Argument::Pattern, u"within", kMessageTime,
            u"TEXT|/REGEX/ [within SECONDS]",
            u"take the agent's next message (5 s); it must be this one"},
    Command{u"expect-end", ExpectEnd, Argument::None, u"within", kMessageTime, u"[within SECONDS]",
            u"the agent closes the link (5 s) and sends nothing before"},
    Command{u"refuse", Refuse, Argument::Pattern, u"for", kNone, u"TEXT|/REGEX/ for SECONDS",
            u"fail if such a message waits or comes; others are left for \"expect\""},
    Command{u"ignore", Ignore, Argument::Pattern, u"", kNone, u"TEXT|/REGEX/",
            u"from now on no step sees such messages, those that wait included"},
    Command{u"wait", Wait, Argument::Time, u"", kNone, u"SECONDS", u"do nothing"},
    Command{u"screenshot", Screenshot, Argument::Name, u"", kNone, u"NAME",
            u"write NN-NAME.png; without a DISPLAY only say so"},
    Command{u"run", Run, Argument::Line, u"", kNone, u"COMMAND LINE",
            u"/bin/sh -c; must end with status 0; $VANTORY_SIMULATOR_PORT is set"},
    Command{u"say", Say, Argument::Line, u"", kNone, u"TEXT", u"print TEXT"},
    Command{u"close", Close, Argument::None, u"", kMessageTime, u"",
            u"close the link in an orderly way"},
    Command{u"reset", Reset, Argument::None, u"", kNone, u"",
            u"break the link; what the agent has not read is lost"},
};

constexpr QStringView kHelpEnd =
    u"  # COMMENT\n\n"
    "TEXT is a whole message to the letter, the agent's with ##### in front. Escapes: \\n, \\t,\n"
    "\\\\, \\xHH (a byte). Blanks at its ends are dropped unless written \\x20. REGEX is found\n"
    "anywhere in a message. SECONDS may have a fraction.\n\n"
    "The agent's messages wait in their order until a step takes them. The first step that fails\n"
    "ends a script; an agent that leaves and is not expected to is a failure too, at the script's\n"
    "end at the latest. At the end the link is closed in an orderly way.\n";

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

// Reads one command's line; the first thing that is wrong is what is told.
class LineReader {
public:
    explicit LineReader(const QDir& folder) : m_folder(folder) {}

    ParsedLine read(const Command& command, const QString& line);

private:
    void fail(const QString& error)
    {
        if (m_error.isEmpty()) {
            m_error = error;
        }
    }

    milliseconds takeLimit(const Command& command, QString& rest);
    milliseconds seconds(const QString& text);
    QByteArray message(const QString& text);
    QByteArray fileContent(const QString& name);
    Pattern pattern(const QString& text);
    QString pictureName(const QString& name);

    const QDir& m_folder;
    QString m_error;
};

ParsedLine LineReader::read(const Command& command, const QString& line)
{
    QString rest = line.sliced(command.name.size()).trimmed();
    Step step;
    step.kind = command.kind;
    step.source = line;
    step.time = takeLimit(command, rest);
    if (rest.isEmpty() != (command.argument == Argument::None)) {
        fail(u"usage: %1 %2"_s.arg(command.name, command.usage).trimmed());
    }

    switch (command.argument) {
    case Argument::None:
        break;
    case Argument::Text:
        step.message = message(rest);
        break;
    case Argument::File:
        step.message = fileContent(rest);
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
    if (!m_error.isEmpty()) {
        return {std::nullopt, m_error};
    }
    return {step, {}};
}

// Cuts "within SECONDS" or "for SECONDS" off the end of the rest.
milliseconds LineReader::takeLimit(const Command& command, QString& rest)
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
        fail(u"usage: %1 %2"_s.arg(command.name, command.usage));
    }
    return command.defaultLimit;
}

milliseconds LineReader::seconds(const QString& text)
{
    static const QRegularExpression decimal(u"^[0-9]{1,5}(\\.[0-9]{1,6})?$"_s);
    if (!decimal.match(text).hasMatch()) {
        fail(u"\"%1\" is not a number of seconds"_s.arg(text));
    }
    return milliseconds(qRound64(text.toDouble() * 1000));
}

QByteArray LineReader::message(const QString& text)
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
            bytes += match.captured(1) == u"n" ? '\n' : match.captured(1) == u"t" ? '\t' : '\\';
        }
    }
    return bytes + QStringView(text).sliced(copied).toUtf8();
}

QByteArray LineReader::fileContent(const QString& name)
{
    QFile file(m_folder.filePath(name));
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (content.isEmpty()) {
        fail(u"\"%1\" cannot be read or is empty"_s.arg(file.fileName()));
    }
    return content;
}

Pattern LineReader::pattern(const QString& text)
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

QString LineReader::pictureName(const QString& name)
{
    static const QRegularExpression plain(u"^[A-Za-z0-9_][A-Za-z0-9._-]*$"_s);
    if (!plain.match(name).hasMatch()) {
        fail(u"\"%1\" is not a plain file name"_s.arg(name));
    }
    return name;
}

} // namespace

bool Pattern::matches(const QByteArray& message) const
{
    return regex ? regex->match(QString::fromUtf8(message)).hasMatch() : message == text;
}

ParsedLine parseScriptLine(const QString& line, const QDir& folder)
{
    const QString source = line.trimmed();
    if (source.isEmpty() || source.startsWith(u'#')) {
        return {};
    }
    if (const Command* command = findCommand(firstWord(source))) {
        return LineReader(folder).read(*command, source);
    }
    return {std::nullopt, u"unknown command \"%1\""_s.arg(firstWord(source))};
}

Script parseScript(const QString& text, const QString& fileName)
{
    const QDir folder = QFileInfo(fileName).absoluteDir();
    Script script;
    const QStringList lines = text.split(u'\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        ParsedLine parsed = parseScriptLine(lines[i], folder);
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
        if (character == u'\\') {
            text += u"\\\\"_s;
        } else if (character == u'\n') {
            text += u"\\n"_s;
        } else if (character == u'\t') {
            text += u"\\t"_s;
        } else if (character.unicode() < 0x20 || character.unicode() == 0x7f) {
            text += u"\\x%1"_s.arg(static_cast<uint>(character.unicode()), 2, 16, QChar(u'0'));
        } else {
            text += character;
        }
    }
    return text;
}

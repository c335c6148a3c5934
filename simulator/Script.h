#pragma once

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

// Which of the agent's messages is meant.
struct Pattern {
    QByteArray text;                         // the whole message, marker included, to the letter
    std::optional<QRegularExpression> regex; // where set: found anywhere in the message

    [[nodiscard]] bool matches(const QByteArray& message) const;
};

// One line of a script, checked.
struct Step {
    enum class Kind {
        Accept,
        Send, // also "sendfile": the file is read with the script
        Expect,
        ExpectEnd,
        Refuse,
        Ignore,
        Wait,
        Screenshot,
        Run,
        Say,
        Close,
        Reset,
    };

    Kind kind = Kind::Say;
    QString source;                    // the line as it was written
    QString place;                     // "file:line"; empty for a line that was typed
    QByteArray message;                // Send
    Pattern pattern;                   // Expect, Refuse, Ignore
    QString text;                      // Screenshot: the name, Run: the command, Say: the text
    std::chrono::milliseconds time{0}; // the limit, or how long
};

struct ParsedLine {
    std::optional<Step> step; // none for an empty line, a comment and an error
    QString error;
};

struct Script {
    QList<Step> steps;
    QStringList errors; // "file:line: what is wrong"; with any, nothing should be played
};

// Files that a line names without a path are looked for in the folder.
[[nodiscard]] ParsedLine parseScriptLine(const QString& line, const QDir& folder = {});
[[nodiscard]] Script parseScript(const QString& text, const QString& fileName);

// A line that was typed: a script's line, or else a text that is sent as it is.
[[nodiscard]] ParsedLine parseTypedLine(const QString& line);

// The language's description for --help.
[[nodiscard]] QString scriptHelp();

// The message as a script would write it: one line, nothing in it that a terminal would obey.
[[nodiscard]] QString scriptText(const QByteArray& message);

#pragma once

#include <QByteArray>
#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

// Which of the agent's messages is meant.
struct Pattern {
    QByteArray text;                         // the whole message with its marker, or
    std::optional<QRegularExpression> regex; // what is found anywhere in it

    [[nodiscard]] bool matches(const QByteArray& message) const;
};

// One line of a script, checked.
struct Step {
    enum class Kind {
        Accept,
        Send,
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
    QString source;                    // the whole line
    QString place;                     // "file:line"; empty for a line that was typed
    QByteArray message;                // Send
    Pattern pattern;                   // Expect, Refuse, Ignore
    QString text;                      // Screenshot: the name, Run: the command, Say: the text
    std::chrono::milliseconds time{0}; // Wait, Refuse: how long; else the limit
};

struct ParsedLine {
    std::optional<Step> step; // none for an empty line, a comment and an error
    QString error;
};

struct Script {
    QList<Step> steps;
    QStringList errors; // "file:line: what is wrong"
};

[[nodiscard]] ParsedLine parseScriptLine(const QString& line);
[[nodiscard]] Script parseScript(const QString& text, const QString& fileName);

// A typed line is a script's line, or else a text that is sent as it is.
[[nodiscard]] ParsedLine parseTypedLine(const QString& line);

// The script language, for --help.
[[nodiscard]] QString scriptHelp();

// The message as a script has it: in one line, control characters escaped.
[[nodiscard]] QString scriptText(const QByteArray& message);

#pragma once

#include <QJsonObject>
#include <QLatin1StringView>
#include <QString>
#include <QStringList>

// What the program says in a terminal, in the user's language. The texts are in the resource
// commands.json: an object a text, with the texts of the seven languages. Where the resource or a
// text is missing, its key stands for it. Any thread, but each object only one.
class Terminal {
public:
    // Exit statuses, as in CommandLine.
    enum Status { Done, Failed, WrongUse, AnotherRuns };

    Terminal();

    // Whether the resource could be read.
    [[nodiscard]] bool hasTexts() const { return !m_texts.isEmpty(); }

    // Prints the text as a line, with the values in the places of "%1", "%2" and so on. What the
    // values hold is not replaced again; they come from outside and are made safe for one line of a
    // terminal.
    Status say(QLatin1StringView key, const QStringList& values = {}) const;
    // Likewise to standard error, after the program's name. Returns the status.
    Status printError(QLatin1StringView key, const QStringList& values = {},
                      Status status = Failed) const;

    [[nodiscard]] QString text(QLatin1StringView key, const QStringList& values = {}) const;
    static void print(const QString& line);
    // Whether all that was printed has gone out.
    [[nodiscard]] static bool isWritten();

private:
    QString m_language;
    QJsonObject m_texts;
};

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What a command line asks for. Any thread.
struct Invocation {
    enum class Command {
        Start, // the agent itself
        Help,
        Version,
        Status,
        EndSession,
        Doctor,
        Enrol,
        Unenrol,
        UnknownOption,
        WrongUse, // a value is missing or too much, or options that do not go together
    };

    Command command = Command::Start;
    QString value;       // the session's number, the code or account, or the option at fault
    QString region;      // as typed; empty for the usual one
    bool isJson = false; // of the status
    bool isKept = false; // started by the keeper: a second agent ends without a word

    // Reads all arguments but the program's name. Words that are no option belong to the agent
    // ("port=N") or to nobody, and are no fault; nor are the toolkit's own options.
    [[nodiscard]] static Invocation of(const QStringList& arguments);
};

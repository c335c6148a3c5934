#pragma once

#include <QString>
#include <QStringList>

struct Option;

// What a command line asks for.
struct Invocation {
    QStringList arguments;           // without the program's name
    const Option* command = nullptr; // none: the agent itself
    QString value;                   // the command's, or the invalid option
    QString region;                  // as typed; empty for the usual one
    bool isJson = false;
    bool isKept = false;     // started by the keeper: a second agent ends without a word
    QLatin1StringView error; // its text's key, where the command line is invalid
};

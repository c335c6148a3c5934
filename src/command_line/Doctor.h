#pragma once

#include "command_line/Terminal.h"

struct Invocation;

// Looks for what keeps the agent from working or being seen, on this machine, for the user who asks
// and in the desktop session that the environment names. Changes nothing and writes no log.
struct Doctor {
    // Prints a line for each cause, with its remedy, or one that nothing was found. Returns the
    // exit status: 1 where something is wrong. Of the arguments, "port=N" says where the service is
    // expected. Takes at most four seconds where display and buses hang.
    [[nodiscard]] static int examine(const Terminal& terminal, const Invocation& invocation);

    // Where root asks outside of any desktop (over SSH, from configuration management) nothing of
    // this is wrong, and one line says that it was not looked at.
    void examineDesktop();

    // A command for a remedy, with the path as a shell takes it, whatever it holds.
    [[nodiscard]] static QString command(const QString& start, QString path);

    // Prints a line about something that is wrong.
    void warn(QLatin1StringView key, const QStringList& values = {});

    const Terminal& terminal;
    bool isFine = true;
};

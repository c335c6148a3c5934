#pragma once

#include <chrono>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include "platform/processes/ChildProcess.h"

// Starting a program that is given something to read, or a password in its arguments, and that must
// come to an end.
//
// The child starts as ChildProcess has it: a session of its own without a terminal, default signal
// dispositions, an empty mask, no descriptor of ours. What it makes, everybody may read, whatever
// the agent's own mask is (umask 022).
namespace BoundedProcess {

// Starts the program, an absolute path, and waits for its end; after `limit` it and the session
// that it leads are killed. Its input is `input` and then the end of the file; its output goes
// nowhere. The input may be of one pipe's length (64 kibibytes).
//
// What the call copies of its arguments and of the input is overwritten before it returns. Any
// thread.
[[nodiscard]] ChildProcess::Result run(const QString& program, const QStringList& arguments,
                                       const QByteArray& input, std::chrono::milliseconds limit);

} // namespace BoundedProcess

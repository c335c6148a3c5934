#pragma once

#include "platform/files/Descriptor.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

// Starting other programs. The program is an absolute path. A zero character in it or in an
// argument can't be passed on and counts as an invalid argument: nothing is started then.
//
// A child starts in a session of its own (no terminal), with the default action for every signal,
// an empty signal mask and no descriptor of ours but the standard three and what it is given. Its
// input is empty, its output and errors go nowhere, so that no child ever waits for the agent.
// Everybody can read the arguments: a password goes through the input.
namespace ChildProcess {

struct Result {
    // The child's exit status, or the number of the signal that it died of; none where it could
    // not be started, its status never came, or its time was over.
    std::optional<int> status;
    // Why there is no status, as the system words it.
    QString error = {};
    // Whether the status is a signal's number.
    bool isSignal = false;
};

struct Options {
    // What the child can read before the end of its input; at most one pipe's length (64 KiB).
    QByteArray input = {};
    // After this time the child and its process group are killed.
    std::optional<std::chrono::milliseconds> limit = {};
    // A descriptor of ours that is the child's number 3; none where it is negative.
    int inherited = -1;
    // Whether endRunning() ends it.
    bool endsWithProgram = false;
};

// A child that was started, or why it was not. Somebody must wait for it, once.
struct Child {
    int pid = -1;
    std::optional<QString> error = {};
    std::optional<std::chrono::milliseconds> limit = {};
};

// Starts the program. Any thread.
[[nodiscard]] Child start(const QString& program, const QStringList& arguments,
                          const Options& options = {});

// A descriptor that becomes readable when the child has ended; not open if none is free. Before
// wait(). Any thread.
[[nodiscard]] Descriptor endOf(const Child& child);

// Waits for the child's end. Any thread.
Result wait(const Child& child);

// Starts the program and waits for its end. Any thread.
[[nodiscard]] Result run(const QString& program, const QStringList& arguments,
                         const Options& options = {});

// Ends the children that are to end with this program and that have not ended yet: asks their
// process groups to end (SIGTERM), and kills what is left after `grace`. Returns when they have
// ended, or the time is over. From then on such a child is not started any more: start() fails with
// ECANCELED. What an ended child has left in the background is not touched. Any thread.
void endRunning(std::chrono::milliseconds grace);

} // namespace ChildProcess

#pragma once

#include <optional>

#include <QString>
#include <QStringList>

// Starting other programs. The program is an absolute path. A zero character in it or in an
// argument can't be passed on and counts as an invalid argument: nothing is started then.
//
// A child starts in a session of its own (no terminal), with default signal dispositions, an empty
// signal mask and no descriptor of ours but the standard three: its input is empty, its output and
// errors go nowhere, so that no child can ever wait for the agent.
namespace ChildProcess {

struct Result {
    // The child's exit status, or the number of the signal that it died of; none where it could
    // not be started, or its status never came.
    std::optional<int> status;
    // Why there is no status, as the system says it.
    QString error;
};

// Starts the program and waits for its end. Any thread.
[[nodiscard]] Result run(const QString& program, const QStringList& arguments);

// Starts the program and does not wait for it; its remains are cleared away when it ends. Returns
// why it could not be started, or none. Main thread, with an event loop.
[[nodiscard]] std::optional<QString> start(const QString& program, const QStringList& arguments);

} // namespace ChildProcess

#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <functional>
#include <optional>

// The single instance: each desktop session has one agent, the one that holds the lock of its
// display (see SessionLock) and owns the name "com.halvern.vantoryAgent" on the session bus. Where
// no session bus responds within half a second, and after a bus has gone, the lock alone decides.
//
// Other processes call it over the bus: object "/com/halvern/vantoryAgent", interface
// "com.halvern.vantoryAgent". The bus lets in only the user's own programs.
namespace RunningAgent {

// Takes the lock and the name unless another process has one of them. Returns whether this process
// is the single instance now. Once, before there is a second thread; waits at most as said above.
[[nodiscard]] bool take();

// Gives up the lock and the name, if this process has them: it begins to end, and the next agent to
// start is the single instance. Any thread.
void leave();

// What the agent does when it is called.
struct Requests {
    // Brings the status window up; with the X server's time of the click, 0 where not known.
    // Returns the port that its link goes to.
    std::function<quint16(quint32)> present;
    std::function<QByteArray()> status;     // as JSON text
    std::function<QByteArray()> history;    // likewise
    std::function<bool(qint64)> endSession; // whether there was such a session
};
// Serves calls from the main loop, one at a time. Once, with an application object.
void serve(Requests requests);

// Calls to the running agent. Each waits at most five seconds for the reply; none, or an empty one,
// where no agent has the name on the bus or it does not reply.
[[nodiscard]] std::optional<quint16> present(); // the port of its link
[[nodiscard]] QByteArray status();
[[nodiscard]] QByteArray history();
[[nodiscard]] std::optional<bool> endSession(qint64 session);

enum class Presence {
    None,
    Responding, // over the bus
    Silent,     // it has the name or the lock, but does not reply
};
// Whether an agent runs in this desktop session. Waits at most half a second.
[[nodiscard]] Presence presence();

} // namespace RunningAgent

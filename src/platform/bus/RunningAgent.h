#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <functional>
#include <optional>

// There is one agent a desktop session: the one that holds the lock of its display (see
// SessionLock) and owns the name "com.halvern.vantoryAgent" on the session bus. Where no session
// bus answers within half a second, and after a bus has gone, the lock alone decides.
//
// Over the bus the others ask it: object "/com/halvern/vantoryAgent", interface
// "com.halvern.vantoryAgent". The bus lets in only programs of the user's own.
namespace RunningAgent {

// Takes lock and name, unless somebody has one of them: whether this process is the one now. Once,
// before there is a second thread; waits at most as said above.
[[nodiscard]] bool take();

// Gives lock and name up, if this process has them: it begins to end, and whoever is started now is
// the one. Any thread.
void leave();

// What it does for others.
struct Requests {
    // Brings the status window up; with the X server's time of the click, 0 where not known.
    std::function<void(quint32)> present;
    std::function<quint16()> port;          // that its link goes to
    std::function<QByteArray()> status;     // as JSON text
    std::function<bool(qint64)> endSession; // whether there was such a session
};
// Answers requests from the main loop, one at a turn. Once, with an application object.
void answer(Requests requests);

// Questions to the agent that runs. Each waits at most five seconds for the answer; none where no
// agent has the name on the bus or it does not answer.
[[nodiscard]] std::optional<quint16> present(); // the port of its link
[[nodiscard]] std::optional<QByteArray> status();
[[nodiscard]] std::optional<bool> endSession(qint64 session);

enum class Presence {
    None,
    Answers, // over the bus
    Silent,  // it has the name or the lock, but does not answer
};
// Whether an agent runs in this desktop session. Waits at most half a second.
[[nodiscard]] Presence presence();

} // namespace RunningAgent

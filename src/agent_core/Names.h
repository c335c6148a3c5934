#pragma once

#include <QString>

// Names from outside, as the user is shown them: where nothing of a name can be seen
// (ShownText::isSeen()), a label stands for it. Main thread.
namespace Names {

// The name of somebody in a session, or of the session's machine; without one, "Session 7".
[[nodiscard]] QString inSession(const QString& name, qint64 session);

// The name of a message's sender, whose session is not known.
[[nodiscard]] QString ofSender(const QString& name);

} // namespace Names

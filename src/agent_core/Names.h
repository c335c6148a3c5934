#pragma once

#include <QString>

// Names from outside, as the person is shown them: where nothing of a name can be seen
// (ShownText::isSeen()), a label stands for it. Main thread.
namespace Names {

// Of somebody in a session, and of the machine it goes through: "Session 7".
[[nodiscard]] QString inSession(const QString& name, qint64 session);

// Of a message's sender, whose session is not told.
[[nodiscard]] QString ofSender(const QString& name);

} // namespace Names

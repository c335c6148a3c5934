#pragma once

#include <QString>

#include <optional>

// What the agent does when the service says something: one table, in the order in which a message
// is compared with its commands.
namespace MessageDispatch {

// Handles the text of one receive and returns the command that it recognised: the keyword, or the
// prefix with its "=". None where there is no text or no such command.
//
// Runs on the link's queue. Payloads are decoded here, the screen's lock is asked for here, and
// remote commands run here to their end. What a message does to the agent is one operation of
// AppDelegate, posted to the main thread once a message, in the order of arrival. Only
// "disconnect_all_sessions" waits for the main thread.
std::optional<QString> checkMessage(const std::optional<QString>& message);

} // namespace MessageDispatch

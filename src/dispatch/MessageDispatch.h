#pragma once

#include "service_link/ClientConnection.h"

// What the agent does when the service says something: one table, in the order in which a message
// is compared with its commands.
namespace MessageDispatch {

// Handles the text of one receive, and returns the command that it recognised: the keyword, or the
// prefix with its "=". None where there is no text or no such command.
//
// Runs on the link's thread. Payloads are decoded and remote commands started here, and a worker
// asks whether the screen is locked. What a message does to the agent is one operation of
// AppDelegate, posted to the main thread once a message, in the order of arrival. Only
// "disconnect_all_sessions" waits for the main thread.
[[nodiscard]] ClientConnection::Handled checkMessage(const std::optional<QString>& message);

} // namespace MessageDispatch

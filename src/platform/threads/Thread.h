#pragma once

#include <functional>
#include <string>
#include <thread>

namespace Thread {

// Starts a thread that the program can't do without: where the system has none left, the program
// ends and says so. A debugger shows the first fifteen characters of the name.
[[nodiscard]] std::thread start(const std::string& name, std::function<void()> work);

// Ends the program in the same way where the system has no thread left at this moment.
void mustBeAvailable(const std::string& name);

} // namespace Thread

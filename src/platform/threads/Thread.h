#pragma once

#include <functional>
#include <string>
#include <thread>

namespace Thread {

// Starts a thread; where the system has none left the result can't be joined, and nothing runs. A
// debugger shows the first fifteen characters of the name. Any thread.
[[nodiscard]] std::jthread tryStart(const std::string& name, std::function<void()> work);

// Likewise, but a program that can't do without this thread ends and says so.
[[nodiscard]] std::jthread start(const std::string& name, std::function<void()> work);

} // namespace Thread

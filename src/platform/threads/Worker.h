#pragma once

#include <functional>

namespace Worker {

// Runs work that takes seconds once, on a thread of its own; where the system has none left, on the
// calling one. Nobody waits for it, a program that ends neither: it must hold values only, and post
// its result. Any thread.
void run(std::function<void()> work);

} // namespace Worker

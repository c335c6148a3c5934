#pragma once

#include <functional>

// Calls the handler for each SIGTERM, SIGINT and SIGHUP from now on, on a thread of its own that a
// busy main thread can't delay. Where the system has no thread left these signals keep their
// default action.
//
// Called before any other thread is started: it blocks the signals in the calling thread, and every
// thread that is started afterwards inherits that. SIGPIPE is ignored from then on too: a broken
// link is reported where it is written to. SIGCHLD, which the program may have inherited ignored,
// is not: the system would reap the children, and their statuses would be lost.
void handleTerminationSignals(std::function<void()> handler);

#pragma once

// The one place where the process ends.
//
// At once, with the exact status, and without running destructors or exit handlers: other threads
// may be in the middle of anything, and what they stand on must stay. Any thread.
[[noreturn]] void endProgram(int status);

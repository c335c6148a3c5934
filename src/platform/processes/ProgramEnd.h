#pragma once

class QByteArray;

// The ways in which the process ends. Any thread.

// At once, with this exit status, and without running destructors or exit handlers: other threads
// may still be at work, and what they use must stay.
[[noreturn]] void endProgram(int status);

// Writes the line to standard error and aborts.
[[noreturn]] void abortProgram(const QByteArray& line);

// For a thread that has nothing more to do while another one is about to end the process.
[[noreturn]] void waitForProgramEnd();

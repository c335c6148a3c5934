#pragma once

#include <QString>

// Lines for who reads the program's output, each with its line break. Any thread.
namespace Terminal {

void print(const QString& line);
// To standard error, after the program's name.
void complain(const QString& line);

} // namespace Terminal

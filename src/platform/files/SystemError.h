#pragma once

#include <QString>

// What the system calls an errno value: "Permission denied". Any thread.
[[nodiscard]] QString systemErrorText(int code);

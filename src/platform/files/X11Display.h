#pragma once

#include <QString>

// The X server that the environment names (DISPLAY), without the number of a screen: all its
// screens are one desktop. Empty where it names none. Any thread.
[[nodiscard]] QString x11Display();

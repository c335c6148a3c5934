#pragma once

#include <QString>

#include <optional>

// The text of a session's clock: "0:07", "0:42", "1:05", "1:02:03", with days before the hours from
// the first day on. None up to the first full second and for a time that no clock shows.
[[nodiscard]] std::optional<QString> elapsedText(double seconds);

#pragma once

#include <QStringView>

#include <optional>

// A decimal number of a text from outside: an optional sign and ASCII digits only, in range. None
// where it is anything else. Any thread.
[[nodiscard]] std::optional<qint64> parseInteger64(QStringView text);
[[nodiscard]] std::optional<qint32> parseInteger32(QStringView text);

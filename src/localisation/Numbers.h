#pragma once

#include <QStringView>

#include <optional>

// A decimal number of a text from outside: an optional sign and ASCII digits only, in range. None
// where it is anything else. Any thread.
template <typename Number> // quint16, qint32, qint64
[[nodiscard]] std::optional<Number> parseInteger(QStringView text);

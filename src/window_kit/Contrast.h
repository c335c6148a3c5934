#pragma once

#include <QColor>

// How well colours can be told apart. Any thread.
namespace Contrast {

// The least contrast of a text with its background (WCAG 2.1, success criterion 1.4.3).
inline constexpr double kReadable = 4.5;

// The contrast ratio of two colours, from 1 to 21 (WCAG 2.1).
[[nodiscard]] double ratio(const QColor& one, const QColor& other);

} // namespace Contrast

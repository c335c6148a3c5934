#pragma once

#include <QColor>

class QWidget;

// How well colours can be told apart. Any thread, where nothing else is said.
namespace Contrast {

// The least contrast of a text with its background (WCAG 2.1, success criterion 1.4.3).
inline constexpr double kReadable = 4.5;

// The contrast ratio of two colours, from 1 to 21 (WCAG 2.1).
[[nodiscard]] double ratio(const QColor& one, const QColor& other);

// A mix of two colours; share 0 is `base`, 1 is `other`.
[[nodiscard]] QColor mixed(const QColor& base, const QColor& other, float share);

// The colour nearest to the wished one that has that contrast with the background; black or white
// where no colour has it.
[[nodiscard]] QColor readable(const QColor& wish, const QColor& background,
                              double contrast = kReadable);

// Makes what a palette paints too faintly readable in a window: the words in empty fields, and what
// can be read but not changed. Buttons that can't be pressed keep the style's look. When a window
// is first shown and when the palette has changed; main thread.
void makeReadable(QWidget& window);

} // namespace Contrast

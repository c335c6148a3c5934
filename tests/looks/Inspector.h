#pragma once

#include <QColor>
#include <QImage>
#include <QStringList>
#include <QWidget>

// What is wrong with the look of a window that is shown, in words; nothing needs to be known of the
// window.
namespace Inspector {

// Texts that are cut or cramped, widgets that overlap or stick out, pictures that are blurred, do
// not grow with the font or touch their words.
[[nodiscard]] QStringList faultsOfLayout(const QWidget& window);

// Texts that can't be told from what is behind them, by what was painted.
[[nodiscard]] QStringList faultsOfColours(QWidget& window);

// How many pixels of a picture can be told from the background (WCAG 2.1, success
// criterion 1.4.11).
[[nodiscard]] int clearPixels(const QImage& picture, const QColor& background);

} // namespace Inspector

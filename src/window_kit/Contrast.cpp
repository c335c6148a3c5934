#include "window_kit/Contrast.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPlainTextEdit>

#include <algorithm>
#include <cmath>

namespace {

// Relative luminance (WCAG 2.1).
double luminance(const QColor& colour)
{
    const auto linear = [](float channel) {
        const double c = static_cast<double>(channel);
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

// The colour that the desktop has for it, or the nearest one that can be read.
void keepReadable(QPalette& palette, QPalette::ColorGroup group, QPalette::ColorRole text,
                  QPalette::ColorRole behind, double contrast)
{
    const QPalette desktop = QApplication::palette();
    const QColor background = desktop.color(group, behind);
    const QColor ink = desktop.color(group, text); // which need not be opaque
    const QColor colour = Contrast::mixed(background, ink, ink.alphaF());
    palette.setColor(group, text, Contrast::readable(colour, background, contrast));
}

} // namespace

double Contrast::ratio(const QColor& one, const QColor& other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

QColor Contrast::mixed(const QColor& base, const QColor& other, float share)
{
    const auto channel = [share](float from, float to) { return from + (to - from) * share; };
    return QColor::fromRgbF(channel(base.redF(), other.redF()),
                            channel(base.greenF(), other.greenF()),
                            channel(base.blueF(), other.blueF()));
}

QColor Contrast::readable(const QColor& wish, const QColor& background, double contrast)
{
    const QColor black(Qt::black);
    const QColor white(Qt::white);
    // One of the two always has 4.5:1.
    const QColor& end = ratio(black, background) > ratio(white, background) ? black : white;
    constexpr int kSteps = 50;
    for (int step = 0; step < kSteps; ++step) {
        const QColor colour = mixed(wish, end, static_cast<float>(step) / kSteps);
        if (ratio(colour, background) >= contrast) {
            return colour;
        }
    }
    return end;
}

void Contrast::makeReadable(QWidget& window)
{
    constexpr double kWish = kReadable + 1; // the smoothing of letters takes some of it
    QPalette own;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        keepReadable(own, group, QPalette::PlaceholderText, QPalette::Base, kWish);
    }
    keepReadable(own, QPalette::Disabled, QPalette::WindowText, QPalette::Window, kWish);
    keepReadable(own, QPalette::Disabled, QPalette::Text, QPalette::Base, kWish);
    QPalette inBox;
    // Styles light buttons up.
    keepReadable(inBox, QPalette::Disabled, QPalette::ButtonText, QPalette::Button, kWish + 2);
    // Not the window's: the style keeps pictures of push buttons and scroll bars for each palette,
    // and the toolkit never forgets their names.
    const auto widgets = window.findChildren<QWidget*>();
    for (QWidget* const widget : widgets) {
        const auto* const text = qobject_cast<QPlainTextEdit*>(widget);
        if (qobject_cast<QComboBox*>(widget) != nullptr) {
            widget->setPalette(inBox);
        } else if (qobject_cast<QLabel*>(widget) != nullptr ||
                   qobject_cast<QLineEdit*>(widget) != nullptr ||
                   qobject_cast<QCheckBox*>(widget) != nullptr ||
                   (text != nullptr && !text->isReadOnly())) {
            widget->setPalette(own);
        }
    }
}

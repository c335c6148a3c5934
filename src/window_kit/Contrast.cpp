#include "window_kit/Contrast.h"

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

QColor Contrast::over(const QColor& colour, const QColor& background)
{
    return mixed(background, colour, colour.alphaF());
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

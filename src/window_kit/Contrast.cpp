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

#include "chat/ChatColours.h"

#include <cmath>

namespace {

constexpr double kReadable = 4.5;
// The kinds' green and red, as everywhere in the agent.
constexpr QColor kGreen(0x1e, 0x85, 0x48);
constexpr QColor kRed(0xd6, 0x3a, 0x31);

// WCAG 2, relative luminance.
double luminance(const QColor& colour)
{
    const auto linear = [](float channel) {
        const double c = static_cast<double>(channel);
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

QColor mixed(const QColor& base, const QColor& other, float share)
{
    const auto channel = [share](float from, float to) { return from + (to - from) * share; };
    return QColor::fromRgbF(channel(base.redF(), other.redF()),
                            channel(base.greenF(), other.greenF()),
                            channel(base.blueF(), other.blueF()));
}

} // namespace

double ChatColours::contrast(const QColor& one, const QColor& other)
{
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return first > second ? first / second : second / first;
}

QColor ChatColours::readable(const QColor& wish, const QColor& background)
{
    const QColor black(Qt::black);
    const QColor white(Qt::white);
    // One of the two always has 4.5:1.
    const QColor& end = contrast(black, background) > contrast(white, background) ? black : white;
    constexpr int kSteps = 50;
    for (int step = 0; step < kSteps; ++step) {
        const QColor colour = mixed(wish, end, static_cast<float>(step) / kSteps);
        if (contrast(colour, background) >= kReadable) {
            return colour;
        }
    }
    return end;
}

QColor ChatColours::line(ChatColour colour, const QPalette& palette)
{
    switch (colour) {
    case ChatColour::Green:
        return readable(kGreen, palette.color(QPalette::Base));
    case ChatColour::Red:
        return readable(kRed, palette.color(QPalette::Base));
    case ChatColour::Text:
        break;
    }
    return palette.color(QPalette::Text);
}

QColor ChatColours::bubble(bool isOwn, const QPalette& palette)
{
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    const QColor tint =
        isOwn ? mixed(base, palette.color(QPalette::Highlight), 0.2F) : mixed(base, text, 0.08F);
    // Where a palette has little contrast to begin with, none of it is given away.
    return contrast(text, tint) >= kReadable ? tint : base;
}

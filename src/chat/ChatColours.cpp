#include "chat/ChatColours.h"

#include "window_kit/Contrast.h"

namespace {

// The kinds' green and red, as everywhere in the agent.
constexpr QColor kGreen(0x1e, 0x85, 0x48);
constexpr QColor kRed(0xd6, 0x3a, 0x31);

QColor mixed(const QColor& base, const QColor& other, float share)
{
    const auto channel = [share](float from, float to) { return from + (to - from) * share; };
    return QColor::fromRgbF(channel(base.redF(), other.redF()),
                            channel(base.greenF(), other.greenF()),
                            channel(base.blueF(), other.blueF()));
}

// The colour nearest to the wished one that can be read on the background.
QColor readable(const QColor& wish, const QColor& background)
{
    const QColor black(Qt::black);
    const QColor white(Qt::white);
    // One of the two always has 4.5:1.
    const QColor& end =
        Contrast::ratio(black, background) > Contrast::ratio(white, background) ? black : white;
    constexpr int kSteps = 50;
    for (int step = 0; step < kSteps; ++step) {
        const QColor colour = mixed(wish, end, static_cast<float>(step) / kSteps);
        if (Contrast::ratio(colour, background) >= Contrast::kReadable) {
            return colour;
        }
    }
    return end;
}

} // namespace

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
    // Where the palette has little contrast of its own, the background stays as it is.
    return Contrast::ratio(text, tint) >= Contrast::kReadable ? tint : base;
}

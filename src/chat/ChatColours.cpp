#include "chat/ChatColours.h"

#include "window_kit/Contrast.h"

namespace {

// The kinds' green and red, as everywhere in the agent.
constexpr QColor kGreen(0x1e, 0x85, 0x48);
constexpr QColor kRed(0xd6, 0x3a, 0x31);

} // namespace

QColor ChatColours::line(ChatColour colour, const QPalette& palette)
{
    switch (colour) {
    case ChatColour::Green:
        return Contrast::readable(kGreen, palette.color(QPalette::Base));
    case ChatColour::Red:
        return Contrast::readable(kRed, palette.color(QPalette::Base));
    case ChatColour::Text:
        break;
    }
    return palette.color(QPalette::Text);
}

QColor ChatColours::bubble(bool isOwn, const QPalette& palette)
{
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    const QColor tint = isOwn ? Contrast::mixed(base, palette.color(QPalette::Highlight), 0.2F)
                              : Contrast::mixed(base, text, 0.08F);
    // Where the palette has little contrast of its own, the background stays as it is.
    return Contrast::ratio(text, tint) >= Contrast::kReadable ? tint : base;
}

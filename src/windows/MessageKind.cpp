#include "windows/MessageKind.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double kReadable = 4.5;

struct Look {
    const char16_t* picture;
    // The same hue as the picture's, deep enough for text on light backgrounds and on dark ones.
    QRgb onLight;
    QRgb onDark;
};

constexpr std::array<Look, 4> kLooks = {{
    {u"info", 0xff1a5fb4, 0xff8ab8f5},
    {u"question", 0xff176b38, 0xff5fcf87},
    {u"caution", 0xff944600, 0xffffa348},
    {u"stop", 0xffb3261e, 0xffff938a},
}};

const Look* look(qint64 kind)
{
    const bool isKnown = kind >= 1 && kind <= static_cast<qint64>(kLooks.size());
    return isKnown ? &kLooks.at(static_cast<std::size_t>(kind - 1)) : nullptr;
}

// Relative luminance (WCAG 2.1).
double luminance(const QColor& colour)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

} // namespace

QString MessageKind::picture(qint64 kind)
{
    const Look* const known = look(kind);
    return known != nullptr ? QString::fromUtf16(known->picture) : QString();
}

std::optional<QColor> MessageKind::textColour(qint64 kind, const QColor& background)
{
    if (const Look* const known = look(kind)) {
        for (const QColor shade : {QColor(known->onLight), QColor(known->onDark)}) {
            if (contrast(shade, background) >= kReadable) {
                return shade;
            }
        }
    }
    return std::nullopt;
}

double MessageKind::contrast(const QColor& one, const QColor& other)
{
    const auto [dark, light] = std::minmax({luminance(one), luminance(other)});
    return (light + 0.05) / (dark + 0.05);
}

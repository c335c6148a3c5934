#include "windows/MessageKind.h"

#include "window_kit/Contrast.h"

#include <array>

namespace {

using Labels = struct JsonData::Info::Message;
using Label = QString Labels::*;

struct Look {
    const char16_t* picture;
    Label word;
    // The same hue as the picture's, deep enough for text on light backgrounds and on dark ones.
    QRgb onLight;
    QRgb onDark;
};

constexpr std::array<Look, 4> kLooks = {{
    {u"info", &Labels::information, 0xff1a5fb4, 0xff8ab8f5},
    {u"question", &Labels::question, 0xff176b38, 0xff5fcf87},
    {u"caution", &Labels::caution, 0xff944600, 0xffffa348},
    {u"stop", &Labels::stop, 0xffb3261e, 0xffff938a},
}};

const Look* look(qint64 kind)
{
    const bool isKnown = kind >= 1 && kind <= static_cast<qint64>(kLooks.size());
    return isKnown ? &kLooks.at(static_cast<std::size_t>(kind - 1)) : nullptr;
}

} // namespace

QString MessageKind::picture(qint64 kind)
{
    const Look* const known = look(kind);
    return known != nullptr ? QString::fromUtf16(known->picture) : QString();
}

QString MessageKind::word(qint64 kind, const struct JsonData::Info::Message& labels)
{
    const Look* const known = look(kind);
    return known != nullptr ? labels.*known->word : QString();
}

std::optional<QColor> MessageKind::textColour(qint64 kind, const QColor& background)
{
    if (const Look* const known = look(kind)) {
        for (const QColor shade : {QColor(known->onLight), QColor(known->onDark)}) {
            if (Contrast::ratio(shade, background) >= Contrast::kReadable) {
                return shade;
            }
        }
    }
    return std::nullopt;
}

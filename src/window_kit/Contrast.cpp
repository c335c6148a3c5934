#include "window_kit/Contrast.h"

#include <QApplication>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleOption>

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

constexpr double kWish = Contrast::kReadable + 1; // the smoothing of letters takes some of it

// The palette's colour becomes the nearest one that can be read.
void makeReadable(QPalette& palette, QPalette::ColorGroup group, QPalette::ColorRole text,
                  QPalette::ColorRole behind, double contrast = kWish)
{
    const QColor background = palette.color(group, behind);
    const QColor ink = palette.color(group, text); // which need not be opaque
    const QColor colour = Contrast::mixed(background, ink, ink.alphaF());
    palette.setColor(group, text, Contrast::readable(colour, background, contrast));
}

// The desktop's style with a readable palette. All windows share that: with one of its own each
// would make the style keep pictures of its own.
class ReadableStyle : public QProxyStyle {
public:
    using QProxyStyle::polish;
    void polish(QPalette& palette) override
    {
        QProxyStyle::polish(palette);
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            makeReadable(palette, group, QPalette::PlaceholderText, QPalette::Base);
        }
        makeReadable(palette, QPalette::Disabled, QPalette::WindowText, QPalette::Window);
        makeReadable(palette, QPalette::Disabled, QPalette::Text, QPalette::Base);
    }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override
    {
        const auto* const box = qstyleoption_cast<const QStyleOptionComboBox*>(option);
        if (element != CE_ComboBoxLabel || box == nullptr) {
            QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        QStyleOptionComboBox readable(*box);
        // Styles light buttons up.
        makeReadable(readable.palette, QPalette::Disabled, QPalette::ButtonText, QPalette::Button,
                     kWish + 2);
        QProxyStyle::drawControl(element, &readable, painter, widget);
    }
};

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

void Contrast::keepReadable()
{
    QApplication::setStyle(new ReadableStyle);
}

#include "window_kit/TextColours.h"

#include "window_kit/Contrast.h"

#include <QApplication>
#include <QComboBox>
#include <QPalette>
#include <QWidget>

namespace {

// What the smoothing of letters takes is added.
constexpr double kWish = Contrast::kReadable + 1;

// The colour that the desktop has for it, or the nearest one that can be read.
void keepReadable(QPalette& palette, const QPalette& desktop, QPalette::ColorGroup group,
                  QPalette::ColorRole text, QPalette::ColorRole behind, double contrast = kWish)
{
    const QColor background = desktop.color(group, behind);
    const QColor colour = Contrast::over(desktop.color(group, text), background);
    palette.setColor(group, text, Contrast::readable(colour, background, contrast));
}

// A palette that is set anew is told to the window anew.
void setPalette(QWidget& widget, const QPalette& palette)
{
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const auto role : {QPalette::PlaceholderText, QPalette::WindowText, QPalette::Text,
                                QPalette::ButtonText}) {
            if (palette.isBrushSet(group, role) &&
                palette.color(group, role) != widget.palette().color(group, role)) {
                widget.setPalette(palette);
                return;
            }
        }
    }
}

} // namespace

void TextColours::makeReadable(QWidget& window)
{
    const QPalette desktop = QApplication::palette();
    QPalette own;
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        keepReadable(own, desktop, group, QPalette::PlaceholderText, QPalette::Base);
    }
    keepReadable(own, desktop, QPalette::Disabled, QPalette::WindowText, QPalette::Window);
    keepReadable(own, desktop, QPalette::Disabled, QPalette::Text, QPalette::Base);
    setPalette(window, own);
    const auto boxes = window.findChildren<QComboBox*>();
    for (QComboBox* const box : boxes) {
        QPalette inBox;
        // Styles light buttons up.
        keepReadable(inBox, desktop, QPalette::Disabled, QPalette::ButtonText, QPalette::Button,
                     kWish + 2);
        setPalette(*box, inBox);
    }
}

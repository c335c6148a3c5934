#pragma once

#include <QPushButton>

// A button with enough space around its text in every font: styles leave the same few points also
// beside large letters.
class PushButton : public QPushButton {
public:
    using QPushButton::QPushButton;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }
};

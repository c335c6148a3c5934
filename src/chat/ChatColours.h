#pragma once

#include <QColor>
#include <QPalette>

// What a line of a transcript is coloured for. The colour itself depends on the palette.
enum class ChatColour {
    Text,  // what somebody says
    Green, // somebody has joined
    Red,   // somebody has left
};

// The colours of a transcript, drawn from the palette. Main thread.
namespace ChatColours {

// The colour nearest to the one that is wished for that can be read on the background: 4.5:1.
[[nodiscard]] QColor readable(const QColor& wish, const QColor& background);

[[nodiscard]] QColor line(ChatColour colour, const QPalette& palette);

// The ground that a message stands on: the person's own has a touch of the accent.
[[nodiscard]] QColor bubble(bool isOwn, const QPalette& palette);

} // namespace ChatColours

#pragma once

#include <QColor>
#include <QPalette>

// Why a line of a transcript has a colour. The colour itself depends on the palette.
enum class ChatColour {
    Text,  // what somebody says
    Green, // somebody has joined
    Red,   // somebody has left
};

// The colours of a transcript, drawn from the palette. Main thread.
namespace ChatColours {

// Of a line's text.
[[nodiscard]] QColor line(ChatColour colour, const QPalette& palette);

// Of a message's background; that of the person's own messages is tinted with the accent.
[[nodiscard]] QColor bubble(bool isOwn, const QPalette& palette);

} // namespace ChatColours

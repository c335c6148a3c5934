#pragma once

class QWidget;

// Makes what a palette paints too faintly readable in a window: the words in empty fields, and what
// can be read but not changed. Buttons that can't be pressed keep the style's look. Main thread.
namespace TextColours {

// To be called for a new window and when the palette has changed.
void makeReadable(QWidget& window);

} // namespace TextColours

#pragma once

class QMimeData;
class QTextCursor;

// The user state of a block that goes on with the line of the one before it.
inline constexpr int kGoesOn = 1;

// What the clipboard gets of a text that was laid out in pieces (ShownText::pieces()): plain text
// with the line breaks that it was sent with, and none where it was only cut (kGoesOn). The caller
// owns the result. Main thread.
[[nodiscard]] QMimeData* plainSelection(const QTextCursor& selection);

#pragma once

#include <functional>

class QMimeData;
class QTextBlock;
class QTextCursor;

// What the clipboard gets of a text that was laid out in pieces (ShownText::pieces()): plain text
// with the line breaks that it was sent with, and none where it was only cut. `goesOn` says whether
// a block goes on with the line of the one before it. The caller owns the result. Main thread.
[[nodiscard]] QMimeData* plainSelection(const QTextCursor& selection,
                                        const std::function<bool(const QTextBlock&)>& goesOn);

#pragma once

#include <QString>

// Text from outside, made fit for widgets that would take it for markup.
namespace PlainText {

// For tool tips, which guess whether a text is markup and never break lines of plain text: the text
// as it is, line breaks kept, long lines wrapped.
[[nodiscard]] QString toolTip(const QString& text);

// For places of one line: line breaks and other control characters become blanks.
[[nodiscard]] QString singleLine(const QString& text);

} // namespace PlainText

#pragma once

#include <QList>
#include <QString>
#include <QStringView>

// Texts of conversations, the person's and the operators', as windows can show them. Any thread.
namespace ShownText {

// The first so many characters as a person counts them: grapheme clusters (UAX #29), so that no
// accent, no part of an emoji and no syllable is cut off its base.
[[nodiscard]] QString firstCharacters(const QString& text, qsizetype count);

// Text from outside as a transcript can show it. Line breaks of all kinds become line separators;
// other control characters, halves of surrogate pairs and what the text engine takes for marks of
// its own become the replacement character. Explicit direction changes (UAX #9: embeddings,
// overrides, isolates) go, so that what is read is in the order in which it was written, and so do
// combining marks beyond what any language stacks, which would be painted over the lines around.
[[nodiscard]] QString shown(const QString& text);

// The same in one line: for names.
[[nodiscard]] QString shownInLine(const QString& text);

// A part of a long text that is laid out by itself.
struct Piece {
    QStringView text;
    bool endsLine = false; // whether a line break stood behind it
};

// The largest piece, in code units. The cost of laying a text out grows faster than its length
// where it has no place to break a line.
inline constexpr qsizetype kLongestPiece = 1'000;

// Takes a text as shown() made it apart, at line breaks and blanks where there are any. The pieces
// point into the text; an empty text is one empty piece.
[[nodiscard]] QList<Piece> pieces(QStringView shown);

} // namespace ShownText

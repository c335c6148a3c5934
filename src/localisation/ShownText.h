#pragma once

#include <QList>
#include <QString>
#include <QStringView>

// Text from outside (names, messages), made safe to show. Any thread.
//
// In what shown(), line() and toolTip() return, control characters, halves of surrogate pairs and
// the characters that the text engine keeps for itself are replacement characters.
// Explicit direction changes (UAX #9: embeddings, overrides, isolates) are removed, so that text is
// read in the order in which it was written, and so are combining marks beyond eight in a row,
// which would be painted over the lines around.
namespace ShownText {

// Whether a name can be seen at its start, which is what its line shows: one of its first eight
// code points is a letter, a digit, a punctuation mark or a symbol, and one that leaves ink.
// Blanks, controls, fillers, and marks without a letter leave none.
[[nodiscard]] bool isSeen(QStringView name);

// For several lines: every line break is a line separator.
[[nodiscard]] QString shown(const QString& text);

// For one line, in labels and names: every line break and tab is a blank.
[[nodiscard]] QString line(const QString& text);

// Likewise, at most so many UTF-16 code units, then '…'. It is cut between two characters.
[[nodiscard]] QString line(const QString& text, qsizetype longest);

// For tool tips, which guess whether a text is markup and do not break the lines of plain text.
// Up to 20 line breaks stay, more are shown as '↵'; long lines are wrapped, and what goes beyond
// 10,000 code units is left out.
[[nodiscard]] QString toolTip(const QString& text);

// The first so many characters as a person counts them (grapheme clusters, UAX #29): no accent, no
// part of an emoji and no part of a syllable is cut off. Nothing else is changed.
[[nodiscard]] QString firstCharacters(const QString& text, qsizetype count);

// A part of a long text that is laid out by itself.
struct Piece {
    QStringView text;
    bool endsLine = false; // a line break, which is not in the text, came behind it
};

// The largest piece, in code units. A text without a place to break its lines costs more to lay out
// the longer it is, and more than in proportion.
inline constexpr qsizetype kLongestPiece = 1'000;

// Splits what shown() has returned, at line breaks and blanks where there are any. The pieces point
// into the text; an empty text is one empty piece.
[[nodiscard]] QList<Piece> pieces(QStringView shown);

} // namespace ShownText

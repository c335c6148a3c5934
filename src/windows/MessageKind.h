#pragma once

#include "localisation/Translate.h"

#include <QColor>
#include <QString>

#include <optional>

// How messages of different kinds look. The service numbers the kinds: 1 information, 2 question,
// 3 caution, 4 stop; any other number is a message of no kind.
namespace MessageKind {

// The kind's picture among the bundle's resources; empty for none.
[[nodiscard]] QString picture(qint64 kind);

// The kind in words; empty for none.
[[nodiscard]] QString word(qint64 kind, const struct JsonData::Info::Message& labels);

// The colour of the text on a background, with a contrast of 4.5:1 at least (WCAG 2.1, 1.4.3).
// None for a message of no kind, and on a background on which the kind's colours can't be read.
[[nodiscard]] std::optional<QColor> textColour(qint64 kind, const QColor& background);

} // namespace MessageKind

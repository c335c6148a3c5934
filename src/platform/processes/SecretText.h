#pragma once

#include <QByteArray>
#include <QString>

// Passwords, and texts that hold one, must not stay in memory. Any thread.
namespace SecretText {

// A copy with characters of its own. (QString's copies share them.)
[[nodiscard]] QString copy(const QString& text);

// Overwrites the characters, also for all copies that share them, and empties the text: a QString
// or a QByteArray.
template <typename Text>
void wipe(Text& text);

} // namespace SecretText

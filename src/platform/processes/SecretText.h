#pragma once

#include <QByteArray>
#include <QString>

// Passwords, and texts that hold one, must not stay in memory. Any thread.
namespace SecretText {

// A deep copy: QString's own copies share their characters.
[[nodiscard]] QString copy(const QString& text);

// Overwrites the characters, also for all copies that share them, and empties the text: a QString
// or a QByteArray.
template <typename Text>
void wipe(Text& text);

} // namespace SecretText

#pragma once

#include <QByteArray>
#include <QString>

// Texts that must not lie around in memory: passwords, and what holds one. Any thread.
namespace SecretText {

// A copy that shares its characters with nobody.
[[nodiscard]] QString copy(const QString& text);

// Overwrites the characters where they are, so for everybody who shares them, and empties the text.
void wipe(QString& text);
void wipe(QByteArray& text);

} // namespace SecretText

#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

// JSON texts, as RFC 8259 has them. Any thread.
namespace Json {

// The root object of a text, or what is wrong with the text.
struct Document {
    std::optional<QJsonObject> object;
    QString error;
};

// Reads UTF-8 text whose root is an object. A byte order mark before it is ignored, and of a key
// that comes twice the last value holds.
//
// Beyond the standard's grammar these are errors, too: an escape for half a surrogate pair, which
// is no text; more than 1024 levels; a number that a double can't hold.
[[nodiscard]] Document read(const QByteArray& text);

} // namespace Json

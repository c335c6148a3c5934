#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

// The root object of a text, or what is wrong with the text.
struct JsonDocument {
    std::optional<QJsonObject> object;
    QString error;
};

// Reads JSON text in UTF-8 (RFC 8259) whose root is an object. A byte order mark before it is
// ignored, and of a key that comes twice the last value holds. Any thread.
//
// Beyond the standard's grammar these are errors, too: an escape for half a surrogate pair, which
// is no text; more than 1024 levels; a number that a double can't hold.
[[nodiscard]] JsonDocument readJson(const QByteArray& text);

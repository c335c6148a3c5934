#pragma once

#include <optional>

#include <QString>
#include <QVariantMap>

// Property lists, XML or binary, as values. Any thread.
namespace PropertyList {

// Reads a whole file whose root is a dictionary. None where there is no such regular file, it
// cannot be read, is no property list, or its root is something else; none too where it is out of
// proportion: larger than a mebibyte (a binary list also with its shared values written out), or of
// more than a thousand containers.
//
// Booleans arrive as bool, integers as qlonglong or (above its range) qulonglong, reals as double,
// strings as QString, data as QByteArray, dates as QDateTime, and containers as QVariantList and
// QVariantMap; any other kind as an invalid variant. Of a key that comes twice the last value
// holds.
[[nodiscard]] std::optional<QVariantMap> readDictionary(const QString& path);

} // namespace PropertyList

#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

// Reads a property list, XML or binary, whose root is a dictionary. Any thread. None where there is
// no such regular file, it cannot be read, is no property list, has another root, is larger than a
// mebibyte, or could harm libplist.
//
// Booleans arrive as bool, integers as qlonglong, strings as QString, arrays as QVariantList, and
// any other kind, which no file of this program holds, as an invalid variant. Of a key that comes
// twice the last value holds.
[[nodiscard]] std::optional<QVariantMap> readPropertyList(const QString& path);

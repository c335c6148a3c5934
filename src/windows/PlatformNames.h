#pragma once

#include <QString>
#include <QStringList>

// The back-end platforms as the settings window offers them. Any thread.
namespace PlatformNames {

// In the box's order.
[[nodiscard]] QStringList all();
// Where a stored platform stands among them, and what is stored for the one that was chosen:
// production is stored as an empty text.
[[nodiscard]] int index(const QString& platform);
[[nodiscard]] QString value(const QString& name);

} // namespace PlatformNames

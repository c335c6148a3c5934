#pragma once

#include <QStringList>
#include <QVariantMap>

class QAction;

// How com.canonical.dbusmenu describes a menu's item to the hosts. Main thread. Internal to the
// platform.
namespace DBusMenuItemProperties {

[[nodiscard]] QVariantMap of(const QAction& action);

// The properties that not every item has.
[[nodiscard]] QStringList optionalNames();

} // namespace DBusMenuItemProperties

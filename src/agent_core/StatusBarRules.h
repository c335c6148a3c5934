#pragma once

#include "service_link/PayloadRecords.h"

#include <QList>
#include <QString>

// What the status bar shows, as plain functions.
namespace StatusBarRules {

// The icon's resource, the first that applies: not linked (where that may be shown), in session,
// linked.
[[nodiscard]] QString iconName(bool disconnectedIconVisible, bool isConnected, bool hasSessions);

// The menu's line of the connections: the label, a colon, and who is in session. The blank before
// each comma is on purpose.
[[nodiscard]] QString connectionTitle(const QString& label, const QList<SessionInfo>& sessions);

// The symbol beside that line; empty without a session.
[[nodiscard]] QString connectionSymbol(qsizetype sessionCount);

} // namespace StatusBarRules

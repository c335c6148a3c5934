#pragma once

#include <QStringList>

// The port at which the service listens, by the same rule as in the agent: the command line's, else
// the one of oem.plist, else 62188. Reads the file at each call. Any thread.
[[nodiscard]] quint16 servicePort(const QStringList& arguments);

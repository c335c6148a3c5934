#pragma once

#include <QStringList>

// The port at which the service listens, by the same rule as in the agent: the command line's, else
// the option's (see OemOptions), else 62188. Reads the files at each call. Any thread.
[[nodiscard]] quint16 servicePort(const QStringList& arguments);

#pragma once

#include <QStringList>

inline constexpr quint16 kUsualServicePort = 62188;

// The port at which the service listens, by the same rule as in the agent: the command line's, else
// the option's (see OemOptions), else the usual one. Reads the files at each call. Any thread.
[[nodiscard]] quint16 servicePort(const QStringList& arguments);

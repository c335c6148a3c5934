#pragma once

#include <QStringList>

class OemOptions;

inline constexpr quint16 kUsualServicePort = 62188;

// The port at which the service listens, by the same rule as in the agent: the command line's, else
// the option's, else the usual one. Any thread.
[[nodiscard]] quint16 servicePort(const QStringList& arguments, const OemOptions& options);

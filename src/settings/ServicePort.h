#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class OemOptions;

inline constexpr quint16 kUsualServicePort = 62188;

// The port of the service that the command line asks for. Any thread.
struct PortArgument {
    // None if there is no argument "port=N", or if the last one is not a number from 0 to 65535.
    std::optional<quint16> port;
    // The last argument "port=…" as it stands, where it is no such number.
    QString invalid;

    [[nodiscard]] static PortArgument of(const QStringList& arguments);
};

// The port at which the service listens, by the same rule as in the agent: the command line's, else
// the option's, else the usual one. Any thread.
[[nodiscard]] quint16 servicePort(const QStringList& arguments, const OemOptions& options);

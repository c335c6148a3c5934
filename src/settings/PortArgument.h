#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The port of the service that the command line asks for. Any thread.
struct PortArgument {
    // None where there is no argument "port=N", or where the last one is no number from 0 to 65535.
    std::optional<quint16> port;
    // The last argument "port=…" as it stands, where it is no such number.
    QString invalid;

    [[nodiscard]] static PortArgument of(const QStringList& arguments);
};

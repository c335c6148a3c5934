#pragma once

#include <QList>
#include <QtGlobal>

#include <optional>

// Who within this machine accepts connections to a port, found out without connecting. Nobody but
// the kernel is waited for. Any thread.
namespace PortListener {

// The user numbers of the TCP listeners at this port of 127.0.0.1 and ::1, each once. None where
// the kernel can't be asked: then only a connection could tell.
[[nodiscard]] std::optional<QList<quint32>> ownersAt(quint16 port);

} // namespace PortListener

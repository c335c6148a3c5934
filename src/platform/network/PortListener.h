#pragma once

#include <QtGlobal>

// Whether somebody within this machine accepts connections to a port, found out without connecting.
namespace PortListener {

// Whether there is a TCP listener at this port of 127.0.0.1 or ::1, of whichever account. True also
// where the kernel can't be asked: then only a connection could tell. Does not wait for anybody but
// the kernel. Any thread.
[[nodiscard]] bool existsAt(quint16 port);

} // namespace PortListener

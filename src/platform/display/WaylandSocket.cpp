#include "platform/display/WaylandSocket.h"

#include "platform/files/DisplayName.h"

#include <QByteArray>
#include <QFile>

#include <algorithm>

#include <sys/socket.h>
#include <sys/un.h>

Descriptor WaylandSocket::connect()
{
    // The protocol's standard library has it so: a name in the runtime directory, or a path.
    const QString name = DisplayName::wayland();
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QByteArray path = QFile::encodeName(name.startsWith(u'/') ? name : folder + u'/' + name);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) {
        return {};
    }
    std::copy(path.cbegin(), path.cend(), address.sun_path);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* const general = reinterpret_cast<const sockaddr*>(&address);
    if (!socket.isOpen() || ::connect(socket.value(), general, sizeof address) != 0) {
        return {};
    }
    return socket;
}

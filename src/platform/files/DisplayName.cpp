#include "platform/files/DisplayName.h"

#include <algorithm>

QString DisplayName::x11()
{
    // HOST:DISPLAY.SCREEN
    const QString name = qEnvironmentVariable("DISPLAY");
    const qsizetype dot = name.indexOf(u'.', std::max(name.lastIndexOf(u':'), qsizetype(0)));
    return dot < 0 ? name : name.first(dot);
}

QString DisplayName::wayland()
{
    return qEnvironmentVariable("WAYLAND_DISPLAY");
}

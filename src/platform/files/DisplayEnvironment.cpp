#include "platform/files/DisplayEnvironment.h"

#include <algorithm>

QString DisplayEnvironment::x11()
{
    // HOST:DISPLAY.SCREEN
    const QString name = qEnvironmentVariable("DISPLAY");
    const qsizetype dot = name.indexOf(u'.', std::max(name.lastIndexOf(u':'), qsizetype(0)));
    return dot < 0 ? name : name.first(dot);
}

QString DisplayEnvironment::wayland()
{
    return qEnvironmentVariable("WAYLAND_DISPLAY");
}

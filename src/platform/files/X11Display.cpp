#include "platform/files/X11Display.h"

#include <algorithm>

QString x11Display()
{
    // HOST:DISPLAY.SCREEN
    const QString name = qEnvironmentVariable("DISPLAY");
    const qsizetype dot = name.indexOf(u'.', std::max(name.lastIndexOf(u':'), qsizetype(0)));
    return dot < 0 ? name : name.first(dot);
}

#include "platform/desktop/ToolkitDisplay.h"

#include <QtGlobal>

std::vector<char*> ToolkitDisplay::preferX11(std::vector<char*> arguments)
{
    static char option[] = "-platform";
    static char platform[] = "xcb;wayland";
    if (!arguments.empty() && qEnvironmentVariableIsSet("DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        arguments.insert(arguments.begin() + 1, {option, platform});
    }
    return arguments;
}

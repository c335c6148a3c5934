#include "platform/desktop/DisplayServer.h"

#include <QtGlobal>

std::vector<char*> DisplayServer::preferX11(std::vector<char*> arguments)
{
    static char option[] = "-platform";
    static char platform[] = "xcb;wayland";
    if (!arguments.empty() && qEnvironmentVariableIsSet("DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        arguments.insert(arguments.begin() + 1, {option, platform});
    }
    return arguments;
}

bool DisplayServer::isLastWord(QStringView toolkitMessage)
{
    return toolkitMessage.startsWith(u"The Wayland connection");
}

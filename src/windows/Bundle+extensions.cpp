#include "windows/Bundle+extensions.h"

#include "platform/files/MainBundle.h"

using namespace Qt::StringLiterals;

std::optional<QString> Bundle::releaseVersionNumber()
{
    return MainBundle::infoText(u"CFBundleShortVersionString"_s);
}

std::optional<QString> Bundle::buildVersionNumber()
{
    return MainBundle::infoText(u"CFBundleVersion"_s);
}

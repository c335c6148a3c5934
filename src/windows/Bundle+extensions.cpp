#include "windows/Bundle+extensions.h"

#include "logging/Logs.h"
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

QString Bundle::required(const QString& key)
{
    const auto text = MainBundle::infoText(key);
    if (!text) {
        fatalState(u"%1 is missing from %2/Info.plist"_s.arg(key, MainBundle::path()));
    }
    return *text;
}

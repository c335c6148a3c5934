#include "platform/files/FilePaths.h"

#include <QDir>

using namespace Qt::StringLiterals;

QString FilePaths::system(const QString& absolutePath)
{
    return qEnvironmentVariable("VANTORY_ROOT") + absolutePath;
}

QString FilePaths::library(const QString& path)
{
    return system(u"" VANTORY_LIBRARY_DIR "/"_s + path);
}

QString FilePaths::applicationSupport(const QString& path)
{
    return system(u"" VANTORY_APPLICATION_SUPPORT_DIR "/"_s + path);
}

QString FilePaths::configuration(const QString& path)
{
    return system(u"" VANTORY_CONFIG_DIR "/"_s + path);
}

QString FilePaths::userState(const QString& name)
{
    const QString told = qEnvironmentVariable("XDG_STATE_HOME");
    const QString directory =
        QDir::isAbsolutePath(told) ? told : QDir::homePath() + u"/.local/state"_s;
    return system(directory + u"/vantoryAgent/"_s + name);
}

QString FilePaths::preferences(const QString& name)
{
    return library(u"Preferences/vantoryAgent/"_s + name);
}

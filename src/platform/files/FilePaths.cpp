#include "platform/files/FilePaths.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

QString withoutTrailingSlashes(QString path)
{
    while (path.endsWith(u'/')) {
        path.chop(1);
    }
    return path;
}

} // namespace

QString FilePaths::rooted(const QString& absolutePath)
{
    const QString root = qEnvironmentVariable("VANTORY_ROOT");
    if (root.isEmpty() || !absolutePath.startsWith(u'/')) {
        return absolutePath;
    }
    return withoutTrailingSlashes(QDir::cleanPath(QFileInfo(root).absoluteFilePath())) +
           absolutePath;
}

QString FilePaths::preferences(const QString& name)
{
    return rooted(libraryDirectory() + u"/Preferences/vantoryAgent/"_s + name);
}

QString FilePaths::libraryDirectory()
{
    return withoutTrailingSlashes(u"" VANTORY_LIBRARY_DIR ""_s);
}

QString FilePaths::applicationSupportDirectory()
{
    return withoutTrailingSlashes(u"" VANTORY_APPLICATION_SUPPORT_DIR ""_s);
}

#include "platform/files/FilePaths.h"

#include <QDir>
#include <QFileInfo>

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

QString FilePaths::libraryDirectory()
{
    return withoutTrailingSlashes(QStringLiteral(VANTORY_LIBRARY_DIR));
}

QString FilePaths::applicationSupportDirectory()
{
    return withoutTrailingSlashes(QStringLiteral(VANTORY_APPLICATION_SUPPORT_DIR));
}

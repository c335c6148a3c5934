#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>

// Makes the folder, too.
inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

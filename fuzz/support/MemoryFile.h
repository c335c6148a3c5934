#pragma once

#include <QByteArrayView>
#include <QString>

// A file in memory, for what the program reads by its path: a link there leads to it.
class MemoryFile {
public:
    explicit MemoryFile(const QString& path);

    // The content is a new file, so that no cache takes it for the one before.
    void setContent(QByteArrayView content);

private:
    int m_descriptor = -1;
};

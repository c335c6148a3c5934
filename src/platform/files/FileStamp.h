#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// By what the file system knows of a file, whether it is still what it was when it was read. Any
// thread.
struct FileStamp {
    // None where the file can't be looked at.
    [[nodiscard]] static std::optional<FileStamp> of(const QString& path);

    bool operator==(const FileStamp&) const = default;

    // Whether any later change would show in the stamp. File systems store a change's time in steps
    // of up to two seconds, so of a file that has just changed nobody can tell.
    [[nodiscard]] bool isSettled() const;

    qint64 size = 0;
    QDateTime modified;
    QDateTime changed; // also by who sets `modified` back
};

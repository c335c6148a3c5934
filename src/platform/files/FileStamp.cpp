#include "platform/files/FileStamp.h"

#include <QFileInfo>

#include <chrono>

std::optional<FileStamp> FileStamp::of(const QString& path)
{
    const QFileInfo file(path);
    return file.exists() ? std::optional(FileStamp{file.size(), file.lastModified(),
                                                   file.metadataChangeTime()})
                         : std::nullopt;
}

bool FileStamp::isSettled() const
{
    constexpr std::chrono::milliseconds kLongestStep(2'000);
    // Also not where the clock was set back.
    return changed.msecsTo(QDateTime::currentDateTime()) > kLongestStep.count();
}

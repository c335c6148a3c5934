#pragma once

#include <QString>

#include <cstdint>
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

    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0; // nanoseconds since 1970, like the next
    std::int64_t changed = 0;  // also by who sets `modified` back
};

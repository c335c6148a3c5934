#pragma once

#include <QString>

#include <cstdint>

// What the file system says of a name, for a diagnosis of what is wrong with it. A symbolic link
// is followed. Any thread.
struct FileFacts {
    enum class Kind { // first those that are not there
        Missing,
        Hidden, // in a folder that this process may not enter
        Regular,
        Folder,
        Other, // a pipe, a device, a link to nowhere
    };

    [[nodiscard]] static FileFacts of(const QString& path);
    [[nodiscard]] bool isThere() const { return kind >= Kind::Regular; }

    Kind kind = Kind::Missing;
    std::uint32_t owner = 0; // UID and GID
    std::uint32_t group = 0;
    unsigned int mode = 0;      // the permission bits, with set-user-id, set-group-id and sticky
    bool hasOtherNames = false; // hard links, or it was reached by a symbolic one
    bool isReadable = false;    // by this process, as is the next
    bool isWritable = false;
};

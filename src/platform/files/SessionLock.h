#pragma once

#include "platform/files/Descriptor.h"

#include <QString>

// A lock that one process of the user can have at a time. The kernel takes it away when the
// process ends, in whatever way; the file below it stays. Programs that this one starts don't get
// it. Any thread.
class SessionLock {
public:
    enum class Result {
        Taken,  // this process has it now, until the object ends
        Busy,   // another one has it
        Failed, // there can be no such file, or others could hold its lock
    };

    // The file is NAME in the user's runtime directory (XDG_RUNTIME_DIR of the XDG Base Directory
    // Specification), if it is a directory that only the user may write to; else "UID-NAME" in
    // /tmp. Each "/" in the name becomes a "-". The file counts if it is the user's, has one name,
    // and nobody else may open it.
    [[nodiscard]] Result take(const QString& name);

    // Gives the lock back. No other call may run meanwhile.
    void release() { m_file.close(); }

    // Whether a process has the lock of that name. Takes it from nobody, not even for a moment.
    [[nodiscard]] static bool isTaken(const QString& name);

private:
    Descriptor m_file;
};

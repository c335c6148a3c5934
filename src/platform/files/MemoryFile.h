#pragma once

#include "platform/files/Descriptor.h"

#include <QByteArray>

// A file in memory without a name (memfd_create(2)), by which a program leaves something to the
// next one that its parent starts. Its size is fixed and sealed; what has not been written is zero.
// Main thread.
class MemoryFile {
public:
    static constexpr qsizetype kSize = 1024 * 1024;
    // The number of the child's descriptor.
    static constexpr int kInherited = 3;

    MemoryFile() = default;
    // A new one; not open where the system has none.
    [[nodiscard]] static MemoryFile make();
    // The one that this program was started with, not open where there is none. Once, before any
    // file is opened. No child of this program gets it.
    [[nodiscard]] static MemoryFile inherited();

    [[nodiscard]] bool isOpen() const { return m_file.isOpen(); }
    [[nodiscard]] int descriptor() const { return m_file.value(); }

    // What was written, up to the first zero.
    [[nodiscard]] QByteArray read();
    // Replaces the content.
    void write(const QByteArray& bytes);
    // Writes behind the content. Returns whether there was room.
    bool append(const QByteArray& bytes);

private:
    explicit MemoryFile(Descriptor file) : m_file(std::move(file)) {}

    Descriptor m_file;
    qsizetype m_end = 0; // from here on it is zero
};

#pragma once

#include <QByteArrayView>
#include <QString>

#include <cstddef>
#include <cstdint>

// What the fuzz targets share.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Ends the program where an invariant does not hold.
void require(bool holds, const char* invariant);

inline QByteArrayView viewOf(const std::uint8_t* data, std::size_t size)
{
    return {data, static_cast<qsizetype>(size)};
}

// Takes numbers and texts off the front of a target's bytes; at the end they are 0 and empty.
class Input {
public:
    explicit Input(QByteArrayView bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool isEmpty() const { return m_bytes.isEmpty(); }
    // From 0 to below the limit, which is 256 at most.
    int below(int limit);
    // Any number of 32 bits.
    int any();
    // Up to a byte 0xFF, which is in no UTF-8 text.
    QString text();

private:
    QByteArrayView m_bytes;
};

// What logging/Logs.h has for the program: here nothing is written, and fatalState() throws this.
struct FatalState {};

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

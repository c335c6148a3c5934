#include "platform/files/PropertyListGuard.h"

#include <limits>

namespace {

constexpr qsizetype kMaximumContainers = 1000;

// A binary property list: a head, objects, a table of the objects' offsets, and a trailer that
// tells where the table lies. An object is a byte with its kind and count, and its content; a
// container's content is the numbers of objects, which other containers may hold too.
class BinaryList {
public:
    explicit BinaryList(const QByteArray& bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool isHarmless()
    {
        return size() >= kTrailer && isHarmless(number(m_trailer + 16, 8));
    }

private:
    static constexpr quint64 kTrailer = 32;
    static constexpr quint64 kNoNumber = std::numeric_limits<quint64>::max();
    enum Kind : quint64 { Data = 4, Ascii = 5, Utf16 = 6, Array = 10, Dictionary = 13 };

    [[nodiscard]] quint64 size() const { return static_cast<quint64>(m_bytes.size()); }

    // A number of `width` bytes, the most significant first; kNoNumber where there is none.
    [[nodiscard]] quint64 number(quint64 offset, quint64 width) const
    {
        if (width < 1 || width > 8 || offset > size() || width > size() - offset) {
            return kNoNumber;
        }
        quint64 value = 0;
        for (quint64 i = 0; i < width; ++i) {
            value = value << 8 | static_cast<uchar>(m_bytes[static_cast<qsizetype>(offset + i)]);
        }
        return value;
    }

    // Counts the object and what it holds, as if each reference were an object of its own; false
    // where a limit is reached or it can't be read. There are at most as many levels as containers.
    [[nodiscard]] bool isHarmless(quint64 reference)
    {
        if (reference >= m_objects || m_objects > size() || m_table > size()) {
            return false;
        }
        const quint64 offset = number(m_table + reference * m_offsetWidth, m_offsetWidth);
        const quint64 marker = number(offset, 1);
        if (marker == kNoNumber) {
            return false;
        }
        const quint64 kind = marker >> 4;
        quint64 count = kind < Data ? 0 : marker & 0xF; // a number has at most 16 bytes
        quint64 content = offset + 1;
        if (count == 0xF) { // the count follows, as an integer object
            const quint64 width = quint64(1) << (number(content, 1) & 0xF);
            count = number(content + 1, width);
            content += 1 + width;
        }
        if (count > size()) {
            return false;
        }
        const bool isContainer = kind >= Array;
        const quint64 units = kind == Utf16 || kind == Dictionary ? 2 * count : count;
        m_expanded += 8 + (isContainer ? 0 : units);
        m_containers += isContainer ? 1 : 0;
        if (m_expanded > PropertyListGuard::kMaximumSize || m_containers > kMaximumContainers) {
            return false;
        }
        if (isContainer) {
            for (quint64 i = 0; i < units; ++i) {
                if (!isHarmless(number(content + i * m_referenceWidth, m_referenceWidth))) {
                    return false;
                }
            }
        } else if (kind == Ascii || kind == Utf16) {
            // libplist ends the program at a key with a zero character in it.
            const quint64 width = kind == Utf16 ? 2 : 1;
            for (quint64 i = 0; i < count; ++i) {
                const quint64 character = number(content + i * width, width);
                if (character == 0 || character == kNoNumber) {
                    return false;
                }
            }
        }
        return true;
    }

    const QByteArray m_bytes;
    const quint64 m_trailer = size() - kTrailer;
    const quint64 m_offsetWidth = number(m_trailer + 6, 1);
    const quint64 m_referenceWidth = number(m_trailer + 7, 1);
    const quint64 m_objects = number(m_trailer + 8, 8);
    const quint64 m_table = number(m_trailer + 24, 8);
    quint64 m_expanded = 0; // bytes
    qsizetype m_containers = 0;
};

} // namespace

bool PropertyListGuard::isHarmless(const QByteArray& bytes)
{
    if (bytes.startsWith("bplist")) {
        return BinaryList(bytes).isHarmless();
    }
    // Counted in comments too, which only makes the limit narrower.
    return bytes.count("<array") + bytes.count("<dict") <= kMaximumContainers;
}

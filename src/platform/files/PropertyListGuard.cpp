#include "platform/files/PropertyListGuard.h"

#include <limits>
#include <optional>
#include <vector>

namespace {

constexpr qsizetype kMaximumContainers = 1000;

// A binary property list: a head, objects, a table of the objects' offsets, and a trailer that
// tells where the table lies. An object is a byte with its kind and count, and its content; a
// container's content is the numbers of objects, which other containers may hold too.
class BinaryList {
public:
    explicit BinaryList(const QByteArray& bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool isHarmless() const
    {
        constexpr quint64 kTrailer = 32;
        if (size() < kTrailer) {
            return false;
        }
        const quint64 trailer = size() - kTrailer;
        const quint64 offsetWidth = number(trailer + 6, 1);
        const quint64 referenceWidth = number(trailer + 7, 1);
        const quint64 objects = number(trailer + 8, 8);
        const quint64 table = number(trailer + 24, 8);
        if (objects > size() || table > size()) {
            return false;
        }

        quint64 expanded = 0; // bytes, as if each reference were an object of its own
        qsizetype containers = 0;
        std::vector<quint64> references = {number(trailer + 16, 8)};
        while (!references.empty()) {
            const quint64 reference = references.back();
            references.pop_back();
            if (reference >= objects) {
                return false;
            }
            const auto object = objectAt(number(table + reference * offsetWidth, offsetWidth));
            if (!object) {
                return false;
            }
            expanded += 8 + object->text;
            containers += object->isContainer ? 1 : 0;
            // References count before they are stored, or this list itself would fill the memory.
            const quint64 pending = references.size() + object->references;
            if (expanded + 8 * pending > PropertyListGuard::kMaximumSize ||
                containers > kMaximumContainers) {
                return false;
            }
            for (quint64 i = 0; i < object->references; ++i) {
                references.push_back(number(object->content + i * referenceWidth, referenceWidth));
            }
        }
        return true;
    }

private:
    struct Object {
        bool isContainer = false;
        quint64 references = 0;
        quint64 text = 0; // bytes of a string or of data
        quint64 content = 0;
    };

    static constexpr quint64 kNoNumber = std::numeric_limits<quint64>::max();

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

    [[nodiscard]] std::optional<Object> objectAt(quint64 offset) const
    {
        const quint64 marker = number(offset, 1);
        if (marker == kNoNumber) {
            return std::nullopt;
        }
        enum Kind : quint64 {
            Data = 4,
            Ascii = 5,
            Utf16 = 6,
            Array = 10,
            Set = 12,
            Dictionary = 13
        };
        const quint64 kind = marker >> 4;
        if (kind != Data && kind != Ascii && kind != Utf16 && kind != Array && kind != Set &&
            kind != Dictionary) {
            return Object(); // a number or the like, of at most 16 bytes
        }
        quint64 count = marker & 0xF;
        quint64 content = offset + 1;
        if (count == 0xF) { // the count follows, as an integer object
            const quint64 width = quint64(1) << (number(content, 1) & 0xF);
            count = number(content + 1, width);
            content += 1 + width;
        }
        if (count > size()) {
            return std::nullopt;
        }
        if (kind == Ascii || kind == Utf16) {
            // libplist ends the program at a key with a zero character in it.
            const quint64 width = kind == Utf16 ? 2 : 1;
            for (quint64 i = 0; i < count; ++i) {
                const quint64 character = number(content + i * width, width);
                if (character == 0 || character == kNoNumber) {
                    return std::nullopt;
                }
            }
        }
        const bool isContainer = kind >= Array;
        const quint64 units = kind == Utf16 || kind == Dictionary ? 2 * count : count;
        return Object{isContainer, isContainer ? units : 0, isContainer ? 0 : units, content};
    }

    const QByteArray m_bytes;
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

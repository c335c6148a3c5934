#include "platform/files/PropertyList.h"

#include "platform/files/RegularFile.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

#include <plist/plist.h>

// Only functions of libplist that are the same in 2.2 and in 2.6.

namespace {

constexpr qsizetype kMaximumSize = 1024 * 1024;
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
        if (m_expanded > kMaximumSize || m_containers > kMaximumContainers) {
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

// Whether libplist can be given a list of at most kMaximumSize bytes without harm: what libplist
// makes of it is not larger either, and it has at most a thousand containers.
//
// The preferences directory is open to the administrators' group without a password, and the agent
// of every user at this machine reads the settings file at its start. Two kinds of small files
// would end all these agents. libplist copies an object of a binary list for each reference to it,
// so forty arrays, each holding the next one twice, fill the memory from 400 bytes. And it frees
// containers recursively, so deep ones overflow the stack. Hence the references of a binary list
// are followed here first, as far as the limits allow.
bool isHarmless(const QByteArray& bytes)
{
    if (bytes.startsWith("bplist")) {
        return BinaryList(bytes).isHarmless();
    }
    // Counted in comments too, which only makes the limit narrower.
    return bytes.count("<array") + bytes.count("<dict") <= kMaximumContainers;
}

QVariant toVariant(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT: { // of either sign
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return static_cast<qlonglong>(value);
    }
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* const text = plist_get_string_ptr(node, &length);
        return QString::fromUtf8(text, static_cast<qsizetype>(length));
    }
    case PLIST_ARRAY: { // of a thousand levels at most
        QVariantList values;
        void* memory = nullptr;
        plist_array_new_iter(node, &memory);
        const std::unique_ptr<void, decltype(&std::free)> iterator(memory, &std::free);
        for (;;) {
            plist_t item = nullptr;
            plist_array_next_item(node, iterator.get(), &item);
            if (item == nullptr) {
                return values;
            }
            values.append(toVariant(item));
        }
    }
    default:
        return {};
    }
}

QVariantMap dictionary(plist_t node)
{
    QVariantMap items;
    void* memory = nullptr;
    plist_dict_new_iter(node, &memory);
    const std::unique_ptr<void, decltype(&std::free)> iterator(memory, &std::free);
    for (;;) {
        char* text = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator.get(), &text, &item);
        const std::unique_ptr<char, decltype(&std::free)> key(text, &std::free);
        if (item == nullptr) {
            return items;
        }
        items.insert(QString::fromUtf8(key.get()), toVariant(item));
    }
}

} // namespace

std::optional<QVariantMap> readPropertyList(const QString& path)
{
    auto [state, bytes, error] = RegularFile::read(path, kMaximumSize);
    if (bytes.startsWith("\xEF\xBB\xBF")) {
        bytes.remove(0, 3); // a byte order mark, which libplist doesn't know
    }
    if (state != RegularFile::State::Read || !isHarmless(bytes)) {
        return std::nullopt;
    }
    // The head needs no care: in the settings file its attribute values have no quotes, as the
    // shell that writes it drops them, and libplist doesn't look at them.
    const auto size = static_cast<std::uint32_t>(bytes.size());
    plist_t root = nullptr;
    if (plist_is_binary(bytes.constData(), size) != 0) {
        plist_from_bin(bytes.constData(), size, &root);
    } else {
        plist_from_xml(bytes.constData(), size, &root);
    }
    const std::unique_ptr<void, decltype(&plist_free)> owner(root, &plist_free);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) {
        return std::nullopt;
    }
    return dictionary(root);
}

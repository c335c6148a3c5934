#include "platform/files/PropertyList.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include <QByteArray>
#include <QDateTime>
#include <QFile>

#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>

namespace {

constexpr qint64 kMaximumSize = 1024 * 1024;

// Containers are converted (below) and freed (by libplist) recursively: their number bounds the
// depth, and with it the stack.
constexpr qsizetype kMaximumContainers = 1000;

std::optional<QByteArray> readFile(const QString& path)
{
    // Without waiting for a writer, should the path be a named pipe.
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    QFile file;
    if (descriptor < 0 ||
        !file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        return std::nullopt;
    }
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    QByteArray bytes = file.read(kMaximumSize + 1);
    if (file.error() != QFileDevice::NoError || bytes.size() > kMaximumSize) {
        return std::nullopt;
    }
    return bytes;
}

// The bytes of a binary property list: a head, objects, a table of the objects' offsets, and a
// trailer that tells where the table lies. An object is a byte with its kind and count, and its
// content; a container's content is the numbers of objects, which other containers may name too.
class BinaryList {
public:
    explicit BinaryList(const QByteArray& bytes) : m_bytes(bytes) {}

    // Whether the list keeps the bounds. libplist makes a copy of an object for each reference to
    // it, so that forty arrays within one another, each holding the next one twice, would fill the
    // memory from 400 bytes. Here the same references are followed, but only as far as the bounds
    // allow.
    [[nodiscard]] bool isInProportion() const
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

        quint64 expanded = 0;
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
            // What is still to be looked at counts beforehand, or looking would need the room.
            const quint64 pending = references.size() + object->references;
            if (expanded + 8 * pending > kMaximumSize || containers > kMaximumContainers) {
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

    // A number of so many bytes, the highest first; kNoNumber where there is none.
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
            return Object(); // numbers and the like, of 16 bytes at the most
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

bool isInProportion(const QByteArray& bytes)
{
    if (bytes.startsWith("bplist")) {
        return BinaryList(bytes).isInProportion();
    }
    // Comments and the like count too: what is said twice here only makes the bound narrower.
    return bytes.count("<array") + bytes.count("<dict") <= kMaximumContainers;
}

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

QVariant toVariant(plist_t node);

QVariant integer(plist_t node)
{
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    if (value > static_cast<std::uint64_t>(std::numeric_limits<qlonglong>::max())) {
        // Negative or very large: libplist knows, but tells it only as text.
        char* text = nullptr;
        std::uint32_t length = 0;
        plist_to_xml(node, &text, &length);
        const bool isNegative =
            QByteArray::fromRawData(text, static_cast<qsizetype>(length)).contains("<integer>-");
        plist_to_xml_free(text);
        if (!isNegative) {
            return QVariant::fromValue<qulonglong>(value);
        }
    }
    return QVariant::fromValue(static_cast<qlonglong>(value));
}

QVariantList array(plist_t node)
{
    QVariantList items;
    void* memory = nullptr;
    plist_array_new_iter(node, &memory);
    const std::unique_ptr<void, Free> iterator(memory);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator.get(), &item);
        if (item == nullptr) {
            return items;
        }
        items.append(toVariant(item));
    }
}

QVariantMap dictionary(plist_t node)
{
    QVariantMap items;
    void* memory = nullptr;
    plist_dict_new_iter(node, &memory);
    const std::unique_ptr<void, Free> iterator(memory);
    for (;;) {
        char* text = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator.get(), &text, &item);
        const std::unique_ptr<char, Free> key(text);
        if (item == nullptr) {
            return items;
        }
        items.insert(QString::fromUtf8(key.get()), toVariant(item));
    }
}

QVariant toVariant(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT:
        return integer(node);
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* const text = plist_get_string_ptr(node, &length);
        return QString::fromUtf8(text, static_cast<qsizetype>(length));
    }
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const char* const bytes = plist_get_data_ptr(node, &length);
        return QByteArray(bytes, static_cast<qsizetype>(length));
    }
    case PLIST_DATE: {
        std::int32_t seconds = 0;
        std::int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        const QDateTime epoch(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
        return epoch.addSecs(seconds).addMSecs(microseconds / 1000);
    }
    case PLIST_ARRAY:
        return array(node);
    case PLIST_DICT:
        return dictionary(node);
    default:
        return {};
    }
}

} // namespace

std::optional<QVariantMap> PropertyList::readDictionary(const QString& path)
{
    auto bytes = readFile(path);
    if (!bytes) {
        return std::nullopt;
    }
    if (bytes->startsWith("\xEF\xBB\xBF")) {
        bytes->remove(0, 3); // a byte order mark, which libplist doesn't know
    }
    if (!isInProportion(*bytes)) {
        return std::nullopt;
    }
    // The head needs no care: the settings file's has its attribute values without quotes, as the
    // shell that writes it drops them, and libplist doesn't look at them.
    plist_t root = nullptr;
    plist_from_memory(bytes->constData(), static_cast<std::uint32_t>(bytes->size()), &root);
    const std::unique_ptr<void, decltype(&plist_free)> owner(root, &plist_free);
    if (root == nullptr || plist_get_node_type(root) != PLIST_DICT) {
        return std::nullopt;
    }
    return dictionary(root);
}

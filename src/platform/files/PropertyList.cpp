#include "platform/files/PropertyList.h"

#include "platform/files/PropertyListGuard.h"
#include "platform/files/RegularFile.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <plist/plist.h>

// Only functions of libplist that are the same in 2.2 and in 2.6.

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

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
        const std::unique_ptr<void, Free> iterator(memory);
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

} // namespace

std::optional<QVariantMap> PropertyList::readDictionary(const QString& path)
{
    auto [state, bytes, error] = RegularFile::read(path, PropertyListGuard::kMaximumSize);
    if (bytes.startsWith("\xEF\xBB\xBF")) {
        bytes.remove(0, 3); // a byte order mark, which libplist doesn't know
    }
    if (state != RegularFile::State::Read || !PropertyListGuard::isHarmless(bytes)) {
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

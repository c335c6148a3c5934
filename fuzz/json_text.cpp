// JSON texts: our reader takes what a strict library takes, and nothing else.
#include "platform/files/Json.h"
#include "support/Fuzzing.h"

#include <nlohmann/json.hpp>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArrayView text = viewOf(data, size);
    const auto object = readJson(text.toByteArray()).object;
    // To the library NUL is an end, and any depth is fine.
    const bool isComparable = !text.contains('\0') && text.size() < 1024;
    if (isComparable || object) {
        const bool isJson = nlohmann::json::accept(text.begin(), text.end());
        const bool isObject = isJson && nlohmann::json::parse(text.begin(), text.end()).is_object();
        require(object.has_value() == isObject, "both readers agree");
    }
    return 0;
}

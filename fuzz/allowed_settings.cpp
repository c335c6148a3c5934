// The permissions of the account, which the service leaves in a file.
#include "platform/files/FilePaths.h"
#include "platform/files/MainBundle.h"
#include "service_link/AllowedSettings.h"
#include "support/Fuzzing.h"
#include "support/MemoryFile.h"

#include <QFile>

#include <nlohmann/json.hpp>

using namespace Qt::StringLiterals;

namespace {

QString path()
{
    qputenv("VANTORY_ROOT", QFile::encodeName(MainBundle::path() + u"/root"_s));
    return FilePaths::preferences(u"gateway.json"_s);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static MemoryFile file(path());
    file.setContent(viewOf(data, size));
    if (const auto settings = readAllowedSettings()) {
        const auto stored = nlohmann::json::parse(data, data + size).at("settings");
        require(stored.at("allow_chat_to_devices") == settings->allow_chat_to_devices &&
                    stored.at("allow_devices_to_be_viewed") == settings->allow_devices_to_be_viewed,
                "a permission is as another reader finds it");
    }
    return 0;
}

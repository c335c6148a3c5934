// The settings file, which every administrator of the machine may write.
#include "platform/files/MainBundle.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsRules.h"
#include "support/Fuzzing.h"
#include "support/MemoryFile.h"

using namespace Qt::StringLiterals;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const QString path = MainBundle::path() + u"/settings.plist"_s;
    static MemoryFile file(path);
    file.setContent(viewOf(data, size));
    if (const auto settings = read_BackendSettingsPlist(path)) {
        const QString platform = settings->platform;
        require(platform.isEmpty() || platform == u"testing" || platform == u"staging",
                "the platform is a known one");
        const bool isValid = SettingsRules::complaint(*settings) == SettingsRules::Complaint::None;
        require(!isValid || settings->managed || settings->sessionCode.size() == 6,
                "a valid session code has six characters");
        require(!isValid || !settings->managed || settings->accountId.size() == 36,
                "a valid account is a UUID");
    }
    return 0;
}

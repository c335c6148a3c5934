// The document of all labels, in any Unicode encoding.
#include "localisation/Translate.h"
#include "platform/files/MainBundle.h"
#include "support/Fuzzing.h"
#include "support/MemoryFile.h"

using namespace Qt::StringLiterals;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static MemoryFile file(MainBundle::path() + u"/Resources/translate.json"_s);
    file.setContent(viewOf(data, size));
    if (const auto labels = getLanguageLabel()) {
        const JsonData::Info& info = labels->info(Language::Portuguese);
        require(info.Common.quit.isValidUtf16() && info.error.sessionCodeMsg.isValidUtf16(),
                "a label is text");
        require(!info.Activity.title.isNull(), "a label that may be missing has a text");
    }
    return 0;
}

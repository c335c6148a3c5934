// The options that a packager leaves in the application folder, and its Info.plist.
#include "agent_state/AppDelegate.h"
#include "platform/files/MainBundle.h"
#include "support/Fuzzing.h"
#include "support/MemoryFile.h"

using namespace Qt::StringLiterals;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static MemoryFile options(MainBundle::path() + u"/Resources/oem.plist"_s);
    static MemoryFile info(MainBundle::path() + u"/Info.plist"_s);
    options.setContent(viewOf(data, size));
    info.setContent(viewOf(data, size));

    AppDelegate::options = AgentOptions();
    AppDelegate::options.oem = OemOptions::read();
    AppDelegate::getOemName(u"oemName"_s, AppDelegate::options.oemName);
    AppDelegate::getOemName(u"oemCompany"_s, AppDelegate::options.companyName);
    AppDelegate::getDisconnectedIconVisisble();
    AppDelegate::getAllowToLeaveChat();
    AppDelegate::getShowConnectionDetail();
    AppDelegate::getDisplaySettings();
    AppDelegate::getPortUI();
    require(AppDelegate::options.portUI != 0, "there is a port");
    require(AppDelegate::options.oemName.isValidUtf16(), "the name is text");
    const QVariant name = MainBundle::infoValue(u"CFBundleName"_s);
    require(!name.isValid() || name.typeId() == QMetaType::QString ||
                name.typeId() == QMetaType::Bool || name.typeId() == QMetaType::LongLong,
            "a value is of a kind that a file of ours holds");
    return 0;
}

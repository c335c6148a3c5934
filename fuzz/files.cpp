// The files that others leave for the agent: each input in the place of every one of them.
#include "agent_state/AppDelegate.h"
#include "platform/files/FilePaths.h"
#include "platform/files/MainBundle.h"
#include "settings/AllowedSettings.h"
#include "settings/SettingsFile.h"
#include "support/Fuzzing.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

// As a new file each time, so that no cache takes it for the one before.
void write(const QString& path, QByteArrayView bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    const QByteArray name = QFile::encodeName(path);
    QFile file(path + u".new"_s);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes.data(), bytes.size()) >= 0,
            "the file can be written");
    file.close();
    require(std::rename(name + ".new", name) == 0, "the file can be put in its place");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString bundle = MainBundle::path();
    qputenv("VANTORY_ROOT", QFile::encodeName(bundle + u"/root"_s));
    const QString settings = bundle + u"/settings.plist"_s;
    for (const QString& path :
         {settings, bundle + u"/Info.plist"_s, bundle + u"/Resources/oem.plist"_s,
          bundle + u"/Resources/translate.json"_s, FilePaths::preferences(u"gateway.json"_s)}) {
        write(path, viewOf(data, size));
    }
    AppDelegate::options = AgentOptions();
    AppDelegate::options.oem = OemOptions::read();
    AppDelegate::getOemName(u"oemName"_s, AppDelegate::options.oemName);
    AppDelegate::getDisplaySettings();
    const auto read = read_BackendSettingsPlist(settings);
    if (read && !read->invalidEntry()) {
        require((read->managed ? read->accountId.size() : read->sessionCode.size() * 6) == 36,
                "valid entries have the right length");
    }
    (void)readAllowedSettings();
    if (const auto labels = labelsOf(Language::Portuguese)) {
        require(!labels->Activity.title.isNull(), "a label that may be missing has a text");
    }
    return 0;
}

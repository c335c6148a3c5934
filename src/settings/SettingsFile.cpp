#include "settings/SettingsFile.h"

#include "logging/Logs.h"
#include "platform/files/FilePaths.h"
#include "platform/files/PropertyList.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> text(const QVariantMap& dictionary, const QString& key)
{
    const QVariant value = dictionary.value(key);
    return value.typeId() == QMetaType::QString ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

QString backendSettingsPath()
{
    return FilePaths::preferences(u"com.halvern.vantory.agent.settings.plist"_s);
}

QString olderSettingsPath()
{
    return FilePaths::library(u"Application Support/Halvern/vantoryAgent/ostrand_settings.json"_s);
}

StoredSettings readBackendSettings(const QString& path)
{
    if (!QFileInfo::exists(path)) {
        return {std::nullopt, u"File %1 is not present"_s.arg(path)};
    }
    const auto dictionary = readPropertyList(path);
    if (!dictionary) {
        return {std::nullopt, u"Unable to get dictionary from path"_s};
    }
    const auto accountId = text(*dictionary, u"accountID"_s);
    const auto platform = text(*dictionary, u"platform"_s);
    if (!accountId || !platform) {
        return {};
    }
    const QVariant managed = dictionary->value(u"managed"_s);
    BackendSettings settings;
    settings.managed = managed.typeId() == QMetaType::Bool && managed.toBool();
    settings.sessionCode = text(*dictionary, u"sessionCode"_s).value_or(QString());
    settings.accountId = *accountId;
    if (*platform == "testing"_L1 || *platform == "staging"_L1) {
        settings.platform = *platform;
    }
    return {settings, QString()};
}

std::optional<BackendSettings> read_BackendSettingsPlist(const QString& path)
{
    const auto [settings, error] = readBackendSettings(path);
    if (!error.isEmpty()) {
        printErrorLog(error);
    }
    return settings;
}

QString settingsPropertyList(const BackendSettings& settings)
{
    return u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n"
           "<dict>\n"
           "    <key>managed</key>\n    <%1/>\n"
           "    <key>sessionCode</key>\n    <string>%2</string>\n"
           "    <key>accountID</key>\n    <string>%3</string>\n"
           "    <key>platform</key>\n    <string>%4</string>\n"
           "</dict>\n"
           "</plist>"_s.arg(settings.managed ? u"true"_s : u"false"_s, settings.sessionCode,
                            settings.accountId, settings.platform);
}

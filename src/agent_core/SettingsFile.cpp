#include "agent_core/SettingsFile.h"

#include <QFileInfo>

#include "logging/Logs.h"
#include "platform/files/FilePaths.h"
#include "platform/files/PropertyList.h"

namespace {

std::optional<QString> text(const QVariantMap& dictionary, const QString& key)
{
    const QVariant value = dictionary.value(key);
    return value.typeId() == QMetaType::QString ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

QString backendSettingsPath()
{
    return FilePaths::rooted(FilePaths::libraryDirectory() +
                             QStringLiteral("/Preferences/vantoryAgent/"
                                            "com.halvern.vantory.agent.settings.plist"));
}

std::optional<BackendSettings> read_BackendSettingsPlist(const QString& path)
{
    if (!QFileInfo::exists(path)) {
        printErrorLog(QStringLiteral("File %1 is not present").arg(path));
        return std::nullopt;
    }
    const auto dictionary = PropertyList::readDictionary(path);
    if (!dictionary) {
        printErrorLog(QStringLiteral("Unable to get dictionary from path"));
        return std::nullopt;
    }
    const auto accountId = text(*dictionary, QStringLiteral("accountID"));
    const auto platform = text(*dictionary, QStringLiteral("platform"));
    if (!accountId || !platform) {
        return std::nullopt;
    }
    const QVariant managed = dictionary->value(QStringLiteral("managed"));
    BackendSettings settings;
    settings.managed = managed.typeId() == QMetaType::Bool && managed.toBool();
    settings.sessionCode = text(*dictionary, QStringLiteral("sessionCode")).value_or(QString());
    settings.accountId = *accountId;
    if (*platform == QLatin1String("testing") || *platform == QLatin1String("staging")) {
        settings.platform = *platform;
    }
    return settings;
}

#include "service_link/AllowedSettings.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include "logging/Logs.h"
#include "platform/files/FilePaths.h"

namespace {

std::optional<AllowedSettings> decode(const QByteArray& bytes)
{
    const QJsonValue value =
        QJsonDocument::fromJson(bytes).object().value(QLatin1String("settings"));
    if (!value.isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    struct Required {
        QLatin1String key;
        bool AllowedData::*field;
    };
    static constexpr Required kRequired[] = {
        {QLatin1String("allow_message_to_devices"), &AllowedData::allow_message_to_devices},
        {QLatin1String("allow_chat_to_devices"), &AllowedData::allow_chat_to_devices},
        {QLatin1String("require_user_acknowledgement_for_devices"),
         &AllowedData::require_user_acknowledgement_for_devices},
        {QLatin1String("allow_file_transfer_to_devices"),
         &AllowedData::allow_file_transfer_to_devices},
        {QLatin1String("allow_devices_to_be_viewed"), &AllowedData::allow_devices_to_be_viewed},
    };
    AllowedSettings result;
    for (const Required& required : kRequired) {
        const QJsonValue flag = object.value(required.key);
        if (!flag.isBool()) {
            return std::nullopt;
        }
        result.settings.*required.field = flag.toBool();
    }
    const QJsonValue shows = object.value(QLatin1String("show_agent_ui_on_connection"));
    if (shows.isBool()) {
        result.settings.show_agent_ui_on_connection = shows.toBool();
    } else if (!shows.isUndefined() && !shows.isNull()) {
        return std::nullopt;
    }
    return result;
}

} // namespace

std::optional<AllowedData> readAllowedSettings()
{
    const QString path = FilePaths::rooted(
        FilePaths::libraryDirectory() + QStringLiteral("/Preferences/vantoryAgent/gateway.json"));
    const QFileInfo info(path);
    if (!info.exists()) {
        return std::nullopt;
    }
    QFile file(path);
    // Only a regular file: opening a pipe would wait for its writer.
    if (!info.isFile() || !file.open(QIODevice::ReadOnly)) {
        // The service may have taken it away since we looked.
        if (!QFileInfo::exists(path)) {
            return std::nullopt;
        }
        fatalState(QStringLiteral("The allowed settings cannot be read: ") + path);
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError) {
        fatalState(QStringLiteral("The allowed settings cannot be read: ") + path);
    }
    const auto settings = decode(bytes);
    return settings ? std::optional(settings->settings) : std::nullopt;
}

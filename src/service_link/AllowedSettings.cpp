#include "service_link/AllowedSettings.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include "logging/Logs.h"
#include "platform/files/FilePaths.h"

using namespace Qt::StringLiterals;

namespace {

std::optional<AllowedSettings> decode(const QByteArray& bytes)
{
    const QJsonValue value = QJsonDocument::fromJson(bytes).object().value("settings"_L1);
    if (!value.isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    struct Required {
        QLatin1String key;
        bool AllowedData::*field;
    };
    static constexpr Required kRequired[] = {
        {"allow_message_to_devices"_L1, &AllowedData::allow_message_to_devices},
        {"allow_chat_to_devices"_L1, &AllowedData::allow_chat_to_devices},
        {"require_user_acknowledgement_for_devices"_L1,
         &AllowedData::require_user_acknowledgement_for_devices},
        {"allow_file_transfer_to_devices"_L1, &AllowedData::allow_file_transfer_to_devices},
        {"allow_devices_to_be_viewed"_L1, &AllowedData::allow_devices_to_be_viewed},
    };
    AllowedSettings result;
    for (const Required& required : kRequired) {
        const QJsonValue flag = object.value(required.key);
        if (!flag.isBool()) {
            return std::nullopt;
        }
        result.settings.*required.field = flag.toBool();
    }
    const QJsonValue shows = object.value("show_agent_ui_on_connection"_L1);
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
    const QString path = FilePaths::rooted(FilePaths::libraryDirectory() +
                                           u"/Preferences/vantoryAgent/gateway.json"_s);
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
        fatalState(u"The allowed settings cannot be read: "_s + path);
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError) {
        fatalState(u"The allowed settings cannot be read: "_s + path);
    }
    const auto settings = decode(bytes);
    return settings ? std::optional(settings->settings) : std::nullopt;
}

#include "service_link/AllowedSettings.h"

#include "logging/Logs.h"
#include "platform/files/FilePaths.h"
#include "platform/files/Json.h"
#include "platform/files/RegularFile.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

std::optional<AllowedSettings> decode(const QByteArray& bytes)
{
    const auto document = Json::read(bytes).object;
    if (!document || !document->value("settings"_L1).isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = document->value("settings"_L1).toObject();
    using Flag = bool AllowedData::*;
    struct Required {
        QLatin1String key;
        Flag field;
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

QString allowedSettingsPath()
{
    return FilePaths::preferences(u"gateway.json"_s);
}

std::optional<AllowedData> allowedSettingsFrom(const QByteArray& text)
{
    const auto settings = decode(text);
    return settings ? std::optional(settings->settings) : std::nullopt;
}

std::optional<AllowedData> readAllowedSettings()
{
    constexpr qsizetype kLargest = 1024 * 1024;
    const QString path = allowedSettingsPath();
    const auto content = RegularFile::read(path, kLargest);
    if (content.state == RegularFile::State::Unreadable) {
        fatalState(u"The allowed settings cannot be read: "_s + path);
    }
    return allowedSettingsFrom(content.bytes);
}

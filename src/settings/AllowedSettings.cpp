#include "settings/AllowedSettings.h"

#include "logging/Logs.h"
#include "platform/files/FilePaths.h"
#include "platform/files/Json.h"
#include "platform/files/RegularFile.h"

#include <QJsonObject>

#include <utility>

using namespace Qt::StringLiterals;

QString allowedSettingsPath()
{
    return FilePaths::preferences(u"gateway.json"_s);
}

std::optional<AllowedData> allowedSettingsFrom(const QByteArray& text)
{
    // Where there is no such object it is empty, and lacks what is required.
    const QJsonObject object =
        readJson(text).object.value_or(QJsonObject()).value("settings"_L1).toObject();
    AllowedSettings result;
    AllowedData& data = result.settings;
    const std::pair<const char*, bool&> required[] = {
        {"allow_message_to_devices", data.allow_message_to_devices},
        {"allow_chat_to_devices", data.allow_chat_to_devices},
        {"require_user_acknowledgement_for_devices", data.require_user_acknowledgement_for_devices},
        {"allow_file_transfer_to_devices", data.allow_file_transfer_to_devices},
        {"allow_devices_to_be_viewed", data.allow_devices_to_be_viewed},
    };
    for (const auto& [key, flag] : required) {
        const QJsonValue value = object.value(QLatin1StringView(key));
        if (!value.isBool()) {
            return std::nullopt;
        }
        flag = value.toBool();
    }
    const QJsonValue shows = object.value("show_agent_ui_on_connection"_L1);
    if (shows.isBool()) {
        data.show_agent_ui_on_connection = shows.toBool();
    } else if (!shows.isUndefined() && !shows.isNull()) {
        return std::nullopt;
    }
    return data;
}

std::optional<AllowedData> readAllowedSettings()
{
    const auto content = RegularFile::read(allowedSettingsPath());
    if (content.state == RegularFile::State::Unreadable) {
        fatalState(u"The allowed settings cannot be read: "_s + allowedSettingsPath());
    }
    return allowedSettingsFrom(content.bytes);
}

std::optional<bool> showsAgentOnConnection()
{
    const auto settings = readAllowedSettings();
    return settings ? settings->show_agent_ui_on_connection : std::nullopt;
}

bool forbidsShowingAgent()
{
    const auto settings = allowedSettingsFrom(RegularFile::read(allowedSettingsPath()).bytes);
    return settings && settings->show_agent_ui_on_connection == false;
}

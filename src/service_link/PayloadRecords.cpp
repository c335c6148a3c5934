#include "service_link/PayloadRecords.h"

#include "platform/files/Json.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QVariant>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Each reads a value into a field; false where it is of another type.

bool read(const QJsonValue& value, QString& field)
{
    field = value.toString();
    return value.isString();
}

bool read(const QJsonValue& value, bool& field)
{
    field = value.toBool();
    return value.isBool();
}

bool read(const QJsonValue& value, qint64& field)
{
    // toInteger() returns the given default for a number that is no integer. An integer beyond
    // 64 bits was read as a real number, and one just below the range is rounded to the smallest
    // integer.
    field = value.toInteger(0);
    const bool isBelowRange = field == std::numeric_limits<qint64>::min() &&
                              value.toVariant().typeId() == QMetaType::Double;
    return field == value.toInteger(1) && !isBelowRange;
}

// Absent and null are none.
bool read(const QJsonValue& value, std::optional<double>& field)
{
    if (value.isDouble()) {
        field = value.toDouble();
    }
    return value.isDouble() || value.isUndefined() || value.isNull();
}

bool read(const QJsonValue& value, QList<SessionInfo>& sessions);

template <typename Record, typename... Types>
bool readFields(const QJsonValue& value, Record& record,
                const std::pair<QLatin1StringView, Types Record::*>&... fields)
{
    return value.isObject() && (read(value[fields.first], record.*fields.second) && ...);
}

bool read(const QJsonValue& value, QList<SessionInfo>& sessions)
{
    const QJsonArray array = value.toArray();
    for (const QJsonValue& entry : array) {
        SessionInfo session;
        if (!readFields(entry, session, std::pair("session"_L1, &SessionInfo::session),
                        std::pair("remoteDevice"_L1, &SessionInfo::remoteDevice),
                        std::pair("remoteControlUser"_L1, &SessionInfo::remoteControlUser),
                        std::pair("sessionDate"_L1, &SessionInfo::sessionDate))) {
            return false;
        }
        sessions.append(session);
    }
    return value.isArray();
}

template <typename Record, typename... Types>
std::optional<Record> decode(QStringView json,
                             const std::pair<QLatin1StringView, Types Record::*>&... fields)
{
    Record record;
    const auto object = readJson(json.toUtf8()).object;
    return object && readFields(*object, record, fields...) ? std::optional(std::move(record))
                                                            : std::nullopt;
}

} // namespace

std::optional<Message> decode_message(QStringView jsonData)
{
    return decode(jsonData, std::pair("from"_L1, &Message::from),
                  std::pair("text"_L1, &Message::text), std::pair("timeout"_L1, &Message::timeout),
                  std::pair("icon"_L1, &Message::icon));
}

std::optional<StatusInfo> decode_status(QStringView jsonData)
{
    return decode(jsonData, std::pair("accountIsValid"_L1, &StatusInfo::accountIsValid),
                  std::pair("gateway"_L1, &StatusInfo::gateway),
                  std::pair("sessionId"_L1, &StatusInfo::sessionId),
                  std::pair("sessions"_L1, &StatusInfo::sessions));
}

std::optional<ChatMember> decode_chat_member(QStringView jsonData)
{
    return decode(jsonData, std::pair("context"_L1, &ChatMember::context),
                  std::pair("member"_L1, &ChatMember::member));
}

std::optional<ApplicationInfo> decode_application_info(QStringView jsonData)
{
    return decode(jsonData, std::pair("session"_L1, &ApplicationInfo::session),
                  std::pair("exec"_L1, &ApplicationInfo::exec));
}

std::optional<ChatMessage> decode_chat_message(QStringView jsonData)
{
    return decode(jsonData, std::pair("context"_L1, &ChatMessage::context),
                  std::pair("from"_L1, &ChatMessage::from),
                  std::pair("text"_L1, &ChatMessage::text));
}

std::optional<ConnectionInformation> decode_connection_information(QStringView jsonData)
{
    return decode(jsonData, std::pair("session"_L1, &ConnectionInformation::session),
                  std::pair("deviceName"_L1, &ConnectionInformation::deviceName),
                  std::pair("controlName"_L1, &ConnectionInformation::controlName));
}

#include "service_link/PayloadRecords.h"

#include "platform/files/Json.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QVariant>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

// Reads the fields of one record, and notes whether one is missing or of another type.
class Fields {
public:
    explicit Fields(QJsonObject object) : m_object(std::move(object)) {}

    static Fields ofText(QStringView json)
    {
        const auto object = Json::read(json.toUtf8()).object;
        Fields fields(object.value_or(QJsonObject()));
        fields.m_isValid = object.has_value();
        return fields;
    }

    QString text(QLatin1String key) { return checked(key, &QJsonValue::isString).toString(); }

    bool boolean(QLatin1String key) { return checked(key, &QJsonValue::isBool).toBool(); }

    QJsonArray array(QLatin1String key) { return checked(key, &QJsonValue::isArray).toArray(); }

    qint64 integer(QLatin1String key)
    {
        const QJsonValue value = checked(key, &QJsonValue::isDouble);
        // toInteger() returns the given default for a number that is no integer. An integer beyond
        // 64 bits was read as a real number, and one just below the range is rounded to the
        // smallest integer.
        const qint64 number = value.toInteger(0);
        const bool isBelowRange = number == std::numeric_limits<qint64>::min() &&
                                  value.toVariant().typeId() == QMetaType::Double;
        m_isValid = m_isValid && number == value.toInteger(1) && !isBelowRange;
        return number;
    }

    // Absent and null are none.
    std::optional<double> optionalNumber(QLatin1String key)
    {
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined() || value.isNull()) {
            return std::nullopt;
        }
        m_isValid = m_isValid && value.isDouble();
        return value.toDouble();
    }

    template <typename Record>
    std::optional<Record> ifValid(Record record) const
    {
        return m_isValid ? std::optional(std::move(record)) : std::nullopt;
    }

private:
    QJsonValue checked(QLatin1String key, bool (QJsonValue::*hasType)() const)
    {
        QJsonValue value = m_object.value(key);
        m_isValid = m_isValid && (value.*hasType)();
        return value;
    }

    QJsonObject m_object;
    bool m_isValid = true;
};

std::optional<SessionInfo> decodeSession(const QJsonValue& value)
{
    if (!value.isObject()) {
        return std::nullopt;
    }
    Fields fields(value.toObject());
    SessionInfo session;
    session.session = fields.integer("session"_L1);
    session.remoteDevice = fields.text("remoteDevice"_L1);
    session.remoteControlUser = fields.text("remoteControlUser"_L1);
    session.sessionDate = fields.optionalNumber("sessionDate"_L1);
    return fields.ifValid(std::move(session));
}

} // namespace

std::optional<Message> decode_message(QStringView jsonData)
{
    Fields fields = Fields::ofText(jsonData);
    Message message;
    message.from = fields.text("from"_L1);
    message.text = fields.text("text"_L1);
    message.timeout = fields.integer("timeout"_L1);
    message.icon = fields.integer("icon"_L1);
    return fields.ifValid(std::move(message));
}

std::optional<StatusInfo> decode_status(QStringView jsonData)
{
    Fields fields = Fields::ofText(jsonData);
    StatusInfo status;
    status.accountIsValid = fields.boolean("accountIsValid"_L1);
    status.gateway = fields.text("gateway"_L1);
    status.sessionId = fields.text("sessionId"_L1);
    const QJsonArray sessions = fields.array("sessions"_L1);
    for (const QJsonValue& value : sessions) {
        auto session = decodeSession(value);
        if (!session) {
            return std::nullopt;
        }
        status.sessions.append(*std::move(session));
    }
    return fields.ifValid(std::move(status));
}

std::optional<ChatMember> decode_chat_member(QStringView jsonData)
{
    Fields fields = Fields::ofText(jsonData);
    ChatMember member;
    member.context = fields.integer("context"_L1);
    member.member = fields.text("member"_L1);
    return fields.ifValid(std::move(member));
}

std::optional<ApplicationInfo> decode_application_info(QStringView jsonData)
{
    Fields fields = Fields::ofText(jsonData);
    ApplicationInfo info;
    info.session = fields.integer("session"_L1);
    info.exec = fields.text("exec"_L1);
    return fields.ifValid(std::move(info));
}

std::optional<ChatMessage> decode_chat_message(QStringView jsonData)
{
    Fields fields = Fields::ofText(jsonData);
    ChatMessage message;
    message.context = fields.integer("context"_L1);
    message.from = fields.text("from"_L1);
    message.text = fields.text("text"_L1);
    return fields.ifValid(std::move(message));
}

std::optional<ConnectionInformation> decode_connection_information(QStringView jsonData)
{
    Fields fields = Fields::ofText(jsonData);
    ConnectionInformation information;
    information.session = fields.integer("session"_L1);
    information.deviceName = fields.text("deviceName"_L1);
    information.controlName = fields.text("controlName"_L1);
    return fields.ifValid(std::move(information));
}

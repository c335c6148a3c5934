#include "records/StatusSummary.h"

#include "platform/files/Json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QByteArray textOf(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

QByteArray StatusSummary::toJson() const
{
    QJsonArray list;
    for (const Session& entry : sessions) {
        QJsonObject object = {
            {u"session"_s, entry.session}, {u"name"_s, entry.name}, {u"device"_s, entry.device}};
        if (entry.began.isValid()) {
            object.insert(u"began"_s, entry.began.toUTC().toString(Qt::ISODate));
        }
        list.append(object);
    }
    return textOf({{u"running"_s, true},
                   {u"port"_s, port},
                   {u"linked"_s, isLinked},
                   {u"gateway"_s, gateway},
                   {u"sessions"_s, list}});
}

QByteArray StatusSummary::notRunning()
{
    return textOf({{u"running"_s, false}});
}

std::optional<StatusSummary> StatusSummary::fromJson(const QByteArray& text)
{
    const auto object = Json::read(text).object;
    if (!object || !object->value("running"_L1).toBool()) {
        return std::nullopt;
    }
    StatusSummary status;
    status.port = static_cast<quint16>(object->value("port"_L1).toInt());
    status.isLinked = object->value("linked"_L1).toBool();
    status.gateway = object->value("gateway"_L1).toString();
    for (const QJsonValue& value : object->value("sessions"_L1).toArray()) {
        const QJsonObject entry = value.toObject();
        status.sessions.append(
            {entry.value("session"_L1).toInteger(), entry.value("name"_L1).toString(),
             entry.value("device"_L1).toString(),
             QDateTime::fromString(entry.value("began"_L1).toString(), Qt::ISODate)});
    }
    return status;
}

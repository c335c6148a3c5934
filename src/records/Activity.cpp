#include "records/Activity.h"

#include <array>

using namespace Qt::StringLiterals;

namespace {

// In the order of the enumerations.
constexpr std::array kKinds = {"session_began"_L1,    "session_ended"_L1,    "session_not_ended"_L1,
                               "request_accepted"_L1, "request_declined"_L1, "request_waits"_L1,
                               "message"_L1,          "command"_L1};
constexpr std::array kAnswerers = {"user"_L1, "locked_screen"_L1};

template <typename Value, typename Names>
std::optional<Value> valueOf(const QJsonValue& json, const Names& names)
{
    for (std::size_t place = 0; place < names.size(); ++place) {
        if (json.toString() == names.at(place)) {
            return static_cast<Value>(place);
        }
    }
    return std::nullopt;
}

template <typename Value, typename Names>
QString nameOf(Value value, const Names& names)
{
    return names.at(static_cast<std::size_t>(value));
}

} // namespace

QString Activity::event(const JsonData::Info& labels) const
{
    const auto& words = labels.Activity;
    switch (kind) {
    case Kind::SessionBegan:
        return words.began;
    case Kind::SessionEnded:
        return words.ended;
    case Kind::SessionNotEnded:
        return words.notEnded;
    case Kind::RequestAccepted:
        return by == By::User ? words.acceptedByYou : words.accepted;
    case Kind::RequestDeclined:
        return words.declined;
    case Kind::RequestWaits:
        return words.waits;
    case Kind::Message:
        return words.message;
    case Kind::Command:
        return words.command;
    }
    return {};
}

QString Activity::details() const
{
    return kind == Kind::Message ? name + u": "_s + text : name + text;
}

QString Activity::statusText(const JsonData::Info& labels) const
{
    return status ? QString::number(*status) : isRunning ? labels.Activity.running : QString();
}

QJsonObject Activity::toJson() const
{
    QJsonObject json{{u"kind"_s, nameOf(kind, kKinds)},
                     {u"time"_s, time.toUTC().toString(Qt::ISODateWithMs)},
                     {u"unseen"_s, isUnseen}};
    if (kind != Kind::Command) {
        json.insert(u"name"_s, name);
    }
    if (kind == Kind::Command || kind == Kind::Message) {
        json.insert(u"text"_s, text);
    }
    if (kind != Kind::Message) {
        json.insert(u"session"_s, session);
    }
    if (kind >= Kind::RequestAccepted && kind <= Kind::RequestWaits) {
        json.insert(u"by"_s, nameOf(by, kAnswerers));
    }
    if (isRunning) {
        json.insert(u"running"_s, true);
    }
    if (status) {
        json.insert(u"status"_s, *status);
    }
    return json;
}

std::optional<Activity> Activity::fromJson(const QJsonObject& json)
{
    const auto kind = valueOf<Kind>(json["kind"_L1], kKinds);
    const auto by = json.contains("by"_L1) ? valueOf<By>(json["by"_L1], kAnswerers) : By::User;
    Activity activity;
    activity.time =
        QDateTime::fromString(json["time"_L1].toString(), Qt::ISODateWithMs).toLocalTime();
    if (!kind || !by || !activity.time.isValid()) {
        return std::nullopt;
    }
    activity.kind = *kind;
    activity.by = *by;
    activity.session = json["session"_L1].toInteger();
    activity.name = json["name"_L1].toString();
    activity.text = json["text"_L1].toString();
    activity.isUnseen = json["unseen"_L1].toBool();
    activity.isRunning = json["running"_L1].toBool();
    if (json.contains("status"_L1)) {
        activity.status = json["status"_L1].toInteger();
    }
    return activity;
}

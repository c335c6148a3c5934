#include "records/Activity.h"

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace {

// In the order of the enumerations.
const struct {
    QLatin1StringView name;
    QString JsonData::Info::Activity::*words;
} kKinds[] = {
    {"session_began"_L1, &JsonData::Info::Activity::began},
    {"session_ended"_L1, &JsonData::Info::Activity::ended},
    {"session_not_ended"_L1, &JsonData::Info::Activity::notEnded},
    {"request_accepted"_L1, &JsonData::Info::Activity::accepted},
    {"request_declined"_L1, &JsonData::Info::Activity::declined},
    {"request_waits"_L1, &JsonData::Info::Activity::waits},
    {"message"_L1, &JsonData::Info::Activity::message},
    {"command"_L1, &JsonData::Info::Activity::command},
};
constexpr QLatin1StringView kAnswerers[] = {"user"_L1, "locked_screen"_L1};

} // namespace

QString Activity::event(const JsonData::Info& labels) const
{
    return kind == Kind::RequestAccepted && by == By::User
               ? labels.Activity.acceptedByYou
               : labels.Activity.*kKinds[static_cast<int>(kind)].words;
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
    QJsonObject json{{u"kind"_s, kKinds[static_cast<int>(kind)].name},
                     {u"time"_s, time.toString(Qt::ISODateWithMs)},
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
        json.insert(u"by"_s, kAnswerers[static_cast<int>(by)]);
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
    const auto* const kind = std::ranges::find_if(
        kKinds, [&](const auto& known) { return json["kind"_L1].toString() == known.name; });
    const auto* const by =
        std::find(std::begin(kAnswerers), std::end(kAnswerers), json["by"_L1].toString(u"user"_s));
    Activity activity;
    activity.time = QDateTime::fromString(json["time"_L1].toString(), Qt::ISODateWithMs);
    if (kind == std::end(kKinds) || by == std::end(kAnswerers) || !activity.time.isValid()) {
        return std::nullopt;
    }
    activity.kind = static_cast<Kind>(kind - std::begin(kKinds));
    activity.by = static_cast<By>(by - std::begin(kAnswerers));
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

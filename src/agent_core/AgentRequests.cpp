#include "agent_core/ActivityLog.h"
#include "agent_state/AppDelegate.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/WindowActivation.h"
#include "records/SessionInfo.h"
#include "windows/ConnectionStatus.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

// JSON text that a terminal may show and that D-Bus takes: all characters but printable ones are
// escaped.
QByteArray textOf(const QJsonObject& object)
{
    QByteArray text;
    const auto json = QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
    for (const char32_t c : json.toUcs4()) {
        const QString character = QString::fromUcs4(&c, 1);
        if (QChar::isPrint(c)) {
            text += character.toUtf8();
            continue;
        }
        for (const QChar unit : character) {
            text += "\\u" + QByteArray::number(unit.unicode(), 16).rightJustified(4, '0');
        }
    }
    return text;
}

// JSON text (RFC 8259):
//   {"running": true, "port": 62188, "linked": true, "gateway": "North",
//    "sessions": [{"session": 7, "name": "Ann Carter", "device": "Desk 12",
//                  "began": "2026-03-01T09:30:00Z"}]}
// "gateway" is empty where it is not known, and "began" (ISO 8601, UTC) then is missing.
QByteArray status()
{
    const AgentState& state = AppDelegate::state();
    QJsonArray sessions;
    for (const SessionInfo& session : state.sessions.all()) {
        QJsonObject entry{{u"session"_s, session.session},
                          {u"name"_s, session.remoteControlUser},
                          {u"device"_s, session.remoteDevice}};
        const auto date = session.sessionDate;
        if (const QDateTime began = date ? sessionDateTime(*date) : QDateTime(); began.isValid()) {
            entry.insert(u"began"_s, began.toString(Qt::ISODate));
        }
        sessions.append(entry);
    }
    const bool isLinked = state.gatewayConnectionStatus;
    return textOf({{u"running"_s, true},
                   {u"port"_s, AppDelegate::options.portUI},
                   {u"linked"_s, isLinked},
                   {u"gateway"_s, isLinked ? state.connectionStatus->gateway_name : QString()},
                   {u"sessions"_s, sessions}});
}

} // namespace

void AppDelegate::serveRequests(const ActivityLog& log)
{
    RunningAgent::Requests requests;
    requests.present = [](quint32 time) {
        WindowActivation::noteAction(time);
        whileRunning (&AppDelegate::connectionDisplay)();
        return options.portUI;
    };
    requests.status = &status;
    requests.history = [&log] { return textOf(log.activities().toJson()); };
    requests.endSession = [](qint64 session) {
        const bool canEnd = !isTerminating() && isListed(session, state().sessions.all());
        if (canEnd) {
            endSession(session);
        }
        return canEnd;
    };
    RunningAgent::serve(std::move(requests));
}

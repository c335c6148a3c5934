#include "agent_core/StatusBarRules.h"

using namespace Qt::StringLiterals;

QString StatusBarRules::iconName(bool disconnectedIconVisible, bool isConnected, bool hasSessions)
{
    if (disconnectedIconVisible && !isConnected) {
        return u"appIcon-22-disconnected"_s;
    }
    return hasSessions ? u"appIcon-22-session"_s : u"appIcon-22-connected"_s;
}

QString StatusBarRules::connectionTitle(const QString& label, const QList<SessionInfo>& sessions)
{
    if (sessions.isEmpty()) {
        return label;
    }
    QString title = label + u':';
    for (const SessionInfo& session : sessions) {
        title += title.endsWith(u':') ? u" "_s : u" , "_s;
        title += session.remoteControlUser;
    }
    return title;
}

QString StatusBarRules::connectionSymbol(qsizetype sessionCount)
{
    switch (sessionCount) {
    case 0:
        return {};
    case 1:
        return u"person.crop.circle.fill"_s;
    default:
        return u"person.crop.circle.fill.badge.plus"_s;
    }
}

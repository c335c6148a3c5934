#include "agent_core/StatusBarRules.h"

#include <limits>

#include <QStringList>

#include "service_link/Protocol.h"

QString StatusBarRules::iconName(bool disconnectedIconVisible, bool isConnected, bool hasSessions)
{
    if (disconnectedIconVisible && !isConnected) {
        return QStringLiteral("appIcon-22-disconnected");
    }
    return hasSessions ? QStringLiteral("appIcon-22-session")
                       : QStringLiteral("appIcon-22-connected");
}

QString StatusBarRules::connectionTitle(const QString& label, const QList<SessionInfo>& sessions)
{
    if (sessions.isEmpty()) {
        return label;
    }
    QString title = label + u':';
    for (const SessionInfo& session : sessions) {
        title += title.endsWith(u':') ? QStringLiteral(" ") : QStringLiteral(" , ");
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
        return QStringLiteral("person.crop.circle.fill");
    default:
        return QStringLiteral("person.crop.circle.fill.badge.plus");
    }
}

std::optional<quint16> StatusBarRules::portArgument(const QStringList& arguments)
{
    std::optional<quint16> port;
    const QLatin1String prefix("port=");
    for (const QString& argument : arguments) {
        if (!argument.startsWith(prefix)) {
            continue;
        }
        const auto number = Protocol::parseInteger64(QStringView(argument).sliced(prefix.size()));
        const bool isPort =
            number && *number >= 0 && *number <= std::numeric_limits<quint16>::max();
        port = isPort ? std::optional(static_cast<quint16>(*number)) : std::nullopt;
    }
    return port;
}

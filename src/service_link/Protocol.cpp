#include "service_link/Protocol.h"

#include <algorithm>
#include <limits>

namespace {

QString marked(const QString& command)
{
    return QStringLiteral("#####") + command;
}

QString withNumber(const QString& prefix, qint64 number)
{
    return marked(prefix) + QString::number(number);
}

} // namespace

std::optional<QString> Protocol::InboundCommand::payloadOf(const QString& message) const
{
    if (match == Match::Whole) {
        return message == text ? std::optional(QString()) : std::nullopt;
    }
    return message.startsWith(text) ? std::optional(message.mid(text.size())) : std::nullopt;
}

QString Protocol::requestConnectionsStatus()
{
    return marked(QStringLiteral("request=connections_status"));
}

QString Protocol::requestRestart()
{
    return marked(QStringLiteral("request=restart"));
}

QString Protocol::updateUser(const QString& name)
{
    return marked(QStringLiteral("update_user=")) + name;
}

QString Protocol::acceptConnection(qint64 session)
{
    return withNumber(QStringLiteral("accept_connection="), session);
}

QString Protocol::declineConnection(qint64 session)
{
    return withNumber(QStringLiteral("decline_connection="), session);
}

QString Protocol::disconnectSession(qint64 session)
{
    return withNumber(QStringLiteral("disconnect_session="), session);
}

QString Protocol::closeChat(qint32 token)
{
    return withNumber(QStringLiteral("close_chat="), token);
}

QString Protocol::chatRequest(qint64 session)
{
    return withNumber(QStringLiteral("chat_request="), session);
}

QString Protocol::sendChat(const QString& json)
{
    return marked(QStringLiteral("send_chat=")) + json;
}

QString Protocol::resultCommand(qint64 session, qint64 status)
{
    // Built as text to the letter, blanks included: the service compares it so.
    return marked(QStringLiteral("result_command={ \"session\" : %1, \"status\" : %2 }")
                      .arg(session)
                      .arg(status));
}

QString Protocol::resultCommandFailedToRead()
{
    return marked(QStringLiteral("result_command_failed_to_read"));
}

std::optional<qint64> Protocol::parseInteger64(QStringView text)
{
    const bool hasSign = text.startsWith(u'-') || text.startsWith(u'+');
    const QStringView digits = text.sliced(hasSign ? 1 : 0);
    // The toolkit's parser alone would also take blanks and other scripts' digits.
    const bool isDecimal =
        !digits.isEmpty() &&
        std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    bool isInRange = false;
    const qint64 number = isDecimal ? text.toLongLong(&isInRange) : 0;
    return isInRange ? std::optional(number) : std::nullopt;
}

std::optional<qint32> Protocol::parseInteger32(QStringView text)
{
    const auto number = parseInteger64(text);
    if (!number || *number < std::numeric_limits<qint32>::min() ||
        *number > std::numeric_limits<qint32>::max()) {
        return std::nullopt;
    }
    return static_cast<qint32>(*number);
}

#include "service_link/Protocol.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

QString marked(const QString& command)
{
    return u"#####"_s + command;
}

QString withNumber(const QString& prefix, qint64 number)
{
    return marked(prefix) + QString::number(number);
}

} // namespace

std::optional<QStringView> Protocol::payloadOf(QStringView command, QStringView message)
{
    const bool isPrefix = command.endsWith(u'=');
    const bool isThis = isPrefix ? message.startsWith(command) : message == command;
    return isThis ? std::optional(message.sliced(command.size())) : std::nullopt;
}

QString Protocol::requestConnectionsStatus()
{
    return marked(u"request=connections_status"_s);
}

QString Protocol::requestRestart()
{
    return marked(u"request=restart"_s);
}

QString Protocol::updateUser(const QString& name)
{
    // The service begins a message at each "#####", also where "#" ends the name before one.
    static const QRegularExpression marker(u"#{5,}|#+\\z"_s);
    return marked(u"update_user="_s) + QString(name).remove(marker);
}

QString Protocol::acceptConnection(qint64 session)
{
    return withNumber(u"accept_connection="_s, session);
}

QString Protocol::declineConnection(qint64 session)
{
    return withNumber(u"decline_connection="_s, session);
}

QString Protocol::disconnectSession(qint64 session)
{
    return withNumber(u"disconnect_session="_s, session);
}

QString Protocol::closeChat(qint32 token)
{
    return withNumber(u"close_chat="_s, token);
}

QString Protocol::chatRequest(qint64 session)
{
    return withNumber(u"chat_request="_s, session);
}

QString Protocol::sendChat(const QString& json)
{
    // A person may type "#####". In JSON a "#" occurs only in strings, where an escape stands for
    // it.
    return marked(u"send_chat="_s) + QString(json).replace(u'#', "\\u0023"_L1);
}

QString Protocol::resultCommand(qint64 session, qint64 status)
{
    // With exactly these blanks: the service compares the text.
    return marked(
        u"result_command={ \"session\" : %1, \"status\" : %2 }"_s.arg(session).arg(status));
}

QString Protocol::resultCommandFailedToRead()
{
    return marked(u"result_command_failed_to_read"_s);
}

#include "service_link/Protocol.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

std::optional<QStringView> Protocol::payloadOf(QStringView command, QStringView message)
{
    const bool isPrefix = command.endsWith(u'=');
    const bool isThis = isPrefix ? message.startsWith(command) : message == command;
    return isThis ? std::optional(message.sliced(command.size())) : std::nullopt;
}

QString Protocol::message(QStringView command)
{
    return u"#####"_s + command.toString();
}

QString Protocol::message(QStringView command, qint64 number)
{
    return message(command) + QString::number(number);
}

QString Protocol::updateUser(const QString& name)
{
    // The service begins a message at each "#####", also where "#" ends the name before one.
    static const QRegularExpression marker(u"#{5,}|#+\\z"_s);
    return message(u"update_user=") + QString(name).remove(marker);
}

QString Protocol::sendChat(const QString& json)
{
    // A user may type "#####". In JSON a "#" occurs only in strings, where an escape stands for it.
    return message(u"send_chat=") + QString(json).replace(u'#', "\\u0023"_L1);
}

QString Protocol::resultCommand(qint64 session, qint64 status)
{
    // With exactly these blanks: the service compares the text.
    return message(u"result_command={ \"session\" : ") +
           u"%1, \"status\" : %2 }"_s.arg(session).arg(status);
}

#include "service_link/Client.h"

#include "logging/Logs.h"
#include "platform/processes/ProgramEnd.h"

using namespace Qt::StringLiterals;

Client::Client(const QString& hostName, quint16 portNumber,
               TcpConnection::AccountCheck accountCheck,
               ClientConnection::CheckMessage checkMessage)
    : host(hostName), port(portNumber),
      connection(portNumber, std::move(accountCheck), std::move(checkMessage))
{}

void Client::start()
{
    printLog(u"Client started %1 %2"_s.arg(host).arg(port));
    connection.didStopCallback = &Client::didStopCallback;
    connection.start();
}

void Client::send(const QString& command)
{
    connection.send(command.toUtf8());
}

void Client::stop()
{
    end = End::ByStop;
    connection.stop();
}

void Client::prepareToStop()
{
    end = End::Later;
}

void Client::didStopCallback(const std::optional<QString>& error)
{
    if (end == End::ByLink && willEnd) {
        willEnd();
    }
    const End who = end;
    if (who == End::Later) {
        waitForProgramEnd();
    }
    if (who == End::ByLink && !error) {
        printJournal(u"ends, because the service has closed the link"_s);
    }
    endProgram(error && who == End::ByLink ? 1 : 0);
}

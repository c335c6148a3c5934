#include "service_link/ClientConnection.h"

#include "logging/Logs.h"
#include "platform/threads/MainQueue.h"

#include <QStringDecoder>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> decodeText(const QByteArray& data)
{
    // A byte order mark stays in the text: no command begins with one.
    using Flag = QStringConverter::Flag;
    QStringDecoder decoder(QStringConverter::Utf8, Flag::Stateless | Flag::ConvertInitialBom);
    QString text = decoder.decode(data);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

ClientConnection::ClientConnection(quint16 port, TcpConnection::AccountCheck accountCheck,
                                   CheckMessage checkMessage)
    : m_checkMessage(std::move(checkMessage)), m_connection(port, std::move(accountCheck))
{}

void ClientConnection::start()
{
    printLog(u"connection will start"_s);
    m_connection.start(
        {.connected = [] { printLog(u"Client connection ready"_s); },
         .received = [this](const QByteArray& data) { return didReceive(data); },
         .sent =
             [](qsizetype size) { printLog(u"connection did send, data: %1 bytes"_s.arg(size)); },
         .endNoticed = didNoticeEnd,
         .ended = [this](const std::optional<QString>& error) { didEnd(error); }},
        endTimeout);
}

void ClientConnection::send(const QByteArray& data)
{
    m_connection.send(data);
}

void ClientConnection::stop()
{
    printLog(u"connection will stop"_s);
    if (m_connection.cancel()) {
        tellEnd(std::nullopt);
    }
}

bool ClientConnection::didReceive(const QByteArray& data)
{
    const std::optional<QString> text = decodeText(data);
    printLog(u"connection did receive"_s);
    Handled handled = m_checkMessage(text);
    const auto finish = [this, command = handled.command, rest = handled.rest] {
        rest();
        return didHandle(command);
    };
    if (!handled.awaited.isOpen()) {
        return finish();
    }
    m_connection.await(std::move(handled.awaited), finish);
    return false;
}

// Returns whether the next message may come now. Messages wait at the service when the main thread
// has enough to do. Its queue then asks for the next one itself, when it has come to the end.
bool ClientConnection::didHandle(const std::optional<QString>& command)
{
    constexpr std::size_t kMostWaiting = 256;
    printLog(u"string: "_s + command.value_or(u"Unknown"_s));
    if (MainQueue::waiting() < kMostWaiting) {
        return true;
    }
    MainQueue::post([this, self = std::weak_ptr<void>(m_self)] {
        if (!self.expired()) {
            m_connection.resume();
        }
    });
    return false;
}

// Not tried again, also where there was no connection: whoever starts the agent starts it again.
void ClientConnection::didEnd(const std::optional<QString>& error)
{
    if (error) {
        printErrorLog(u"connection did fail, error: "_s + *error);
    } else {
        printLog(u"connection did end"_s);
    }
    tellEnd(error);
}

// By whoever has ended the connection, the thread of the link or of a stop(), never by both.
void ClientConnection::tellEnd(const std::optional<QString>& error)
{
    if (const DidStop callback = std::exchange(didStopCallback, nullptr)) {
        callback(error);
    }
}

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

ClientConnection::ClientConnection(const QString& host, quint16 port,
                                   TcpConnection::AccountCheck accountCheck,
                                   CheckMessage checkMessage)
    : m_checkMessage(std::move(checkMessage)), m_connection(host, port, std::move(accountCheck))
{}

ClientConnection::~ClientConnection()
{
    m_connection.cancel();
    m_queue.stop();
}

void ClientConnection::start()
{
    printLog(u"connection will start"_s);
    setUpReceive();
    m_connection.setEnd(didNoticeEnd, endPatience,
                        [this](const std::optional<NetworkError>& error) { didEnd(error); });
    m_connection.start(m_queue, [this](const std::optional<NetworkError>& error) {
        if (error) {
            // Not tried again: whoever starts the agent starts it again.
            connectionDidFail(*error);
        } else {
            printLog(u"Client connection ready"_s);
        }
    });
}

void ClientConnection::send(const QByteArray& data)
{
    m_connection.send(data, [this, size = data.size()](const std::optional<NetworkError>& error) {
        if (error) {
            connectionDidFail(*error); // at once, also while the queue is busy
            return;
        }
        m_queue.post([size] { printLog(u"connection did send, data: %1 bytes"_s.arg(size)); });
    });
}

void ClientConnection::stop()
{
    printLog(u"connection will stop"_s);
    end(std::nullopt);
}

void ClientConnection::setUpReceive()
{
    m_connection.receive(
        [this](const QByteArray& data, bool isComplete, const std::optional<NetworkError>& error) {
            didReceive(data, isComplete, error);
        });
}

void ClientConnection::didReceive(const QByteArray& data, bool isComplete,
                                  const std::optional<NetworkError>& error)
{
    if (!data.isEmpty()) {
        const std::optional<QString> text = decodeText(data);
        printLog(u"connection did receive"_s);
        const std::optional<QString> command = m_checkMessage(text);
        printLog(u"string: "_s + command.value_or(u"Unknown"_s));
    }
    if (isComplete || error) {
        didEnd(error);
    } else {
        receiveNext();
    }
}

// Messages wait at the service when the main thread has enough to do. Its queue then asks for the
// next one itself, when it has come to the end.
void ClientConnection::receiveNext()
{
    constexpr std::size_t kMostWaiting = 256;
    if (MainQueue::waiting() < kMostWaiting) {
        setUpReceive();
        return;
    }
    MainQueue::post([this, self = std::weak_ptr<void>(m_self)] {
        if (!self.expired()) {
            setUpReceive();
        }
    });
}

void ClientConnection::didEnd(const std::optional<NetworkError>& error)
{
    if (error) {
        connectionDidFail(*error);
    } else {
        connectionDidEnd();
    }
}

void ClientConnection::connectionDidFail(const NetworkError& error)
{
    printErrorLog(u"connection did fail, error: "_s + error.text);
    end(error);
}

void ClientConnection::connectionDidEnd()
{
    printLog(u"connection did end"_s);
    end(std::nullopt);
}

void ClientConnection::end(const std::optional<NetworkError>& error)
{
    m_connection.cancel();
    DidStop callback;
    {
        const std::lock_guard lock(m_callbackMutex);
        callback = std::exchange(didStopCallback, nullptr);
    }
    if (callback) {
        callback(error);
    }
}

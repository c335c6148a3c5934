#pragma once

#include "platform/network/TcpConnection.h"
#include "platform/threads/SerialQueue.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <mutex>
#include <optional>

// The link to the service: the receive loop, and what is sent.
//
// Everything that arrives is handled on the queue, one receive after another. What is sent goes out
// at once, from any thread, whatever the queue is busy with. Ended is final.
class ClientConnection {
public:
    // Handles one received text (none where it was not UTF-8) and returns the command that it
    // recognised. Runs on the queue; the next receive waits for it.
    using CheckMessage = std::function<std::optional<QString>(const std::optional<QString>&)>;
    using DidStop = std::function<void(const std::optional<NetworkError>&)>;

    ClientConnection(const QString& host, quint16 port, CheckMessage checkMessage);
    // Waits for the message that is being handled, which must not wait for the caller.
    ~ClientConnection();

    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;

    // Once, on the main thread.
    void start();

    // Sends the bytes as one message. A failure ends the connection at once. Any thread.
    void send(const QByteArray& data);

    // Ends the connection in an orderly way. Any thread.
    void stop();

    // Called once when the connection has ended, with what failed or none, on whatever thread it
    // ended. Set before start(); whoever calls it clears it first.
    DidStop didStopCallback;

private:
    void didChangeState(TcpConnection::State state, const std::optional<NetworkError>& error);
    void setUpReceive();
    void didReceive(const QByteArray& data, bool isComplete,
                    const std::optional<NetworkError>& error);
    void connectionDidFail(const NetworkError& error);
    void connectionDidEnd();
    void end(const std::optional<NetworkError>& error);

    const CheckMessage m_checkMessage;
    std::mutex m_callbackMutex; // for taking didStopCallback
    SerialQueue m_queue{"Client connection Q"};
    TcpConnection m_connection;
};

#pragma once

#include "platform/files/Descriptor.h"
#include "platform/network/TcpConnection.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

// The link to the service: receives one message after another on the link's thread, and sends from
// any thread. Once it has ended it can't be used again.
//
// The end of the link is handled after all messages received before it, or after `endTimeout` if
// they take longer.
class ClientConnection {
public:
    struct Handled {
        std::optional<QString> command; // as it was recognised
        // For work that takes long: becomes readable when it is done, and `rest` is called then.
        Descriptor awaited = {};
        std::function<void()> rest = [] {};
    };
    // Handles a received text (none where it was not UTF-8). This and the rest run on the link's
    // thread, and the next receive waits for them.
    using CheckMessage = std::function<Handled(const std::optional<QString>&)>;
    using DidStop = std::function<void(const std::optional<QString>&)>;

    // `accountCheck` decides who may be the service (see TcpConnection).
    ClientConnection(quint16 port, TcpConnection::AccountCheck accountCheck,
                     CheckMessage checkMessage);
    // On the main thread. Waits for the message that is being handled; its handler must not wait
    // for the caller.
    ~ClientConnection() = default;

    // Once, on the main thread.
    void start();

    // Sends the bytes as one message. A failure ends the connection at once. Any thread.
    void send(const QByteArray& data);

    // Ends the connection in an orderly way. Any thread.
    void stop();

    // Called once when the connection has ended, with the error or none, on the thread that ended
    // it. Set before start(), and cleared before it is called.
    DidStop didStopCallback;
    // Called once, on another thread, when the end has been noticed. Before start().
    std::function<void()> didNoticeEnd = [] {};
    // Before start().
    std::chrono::milliseconds endTimeout{5'000};

private:
    bool didReceive(const QByteArray& data);
    bool didHandle(const std::optional<QString>& command);
    void didEnd(const std::optional<QString>& error);
    void tellEnd(const std::optional<QString>& error);

    const CheckMessage m_checkMessage;
    const std::shared_ptr<void> m_self{this, [](void*) {}}; // only to tell that it is still there
    TcpConnection m_connection;
};

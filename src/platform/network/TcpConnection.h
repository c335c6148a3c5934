#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

class SerialQueue;

// What the system said when something on the network failed.
struct NetworkError {
    int code = 0; // an errno value
    QString text;
};

// One TCP connection that is opened once, used and ended; never opened again.
//
// Bytes move on a thread of the connection's own, so that what is sent leaves, and what arrives is
// read, whatever the owner's queue is busy with. What arrives keeps its reads apart: each read of
// the socket is one receive. Reading pauses while a mebibyte waits to be received.
class TcpConnection {
public:
    enum class State {
        Setup,     // not started
        Preparing, // being connected
        Ready,     // connected
        Waiting,   // nobody listens, or nobody can be reached (carries an error)
        Failed,    // could not be connected for another reason (carries an error)
        Cancelled,
    };

    using StateHandler = std::function<void(State, const std::optional<NetworkError>&)>;
    // Data of one read (may be empty), whether the peer has closed its direction, or what failed.
    using Receive = std::function<void(const QByteArray& data, bool isComplete,
                                       const std::optional<NetworkError>&)>;
    using SendCompletion = std::function<void(const std::optional<NetworkError>&)>;

    // The most that one receive brings, in bytes; the least is one.
    static constexpr qsizetype kMaximumReceive = 65536;
    // What may wait to be received before reading pauses, in bytes.
    static constexpr qsizetype kReadAhead = 1024 * 1024;

    // "localhost" is tried at 127.0.0.1 and then at ::1 (RFC 6761, section 6.3), without asking
    // a resolver; any other host must be a numeric address.
    TcpConnection(const QString& host, quint16 port);
    // Cancels and waits for the connection's thread. Not from a callback.
    ~TcpConnection();

    TcpConnection(const TcpConnection&) = delete;
    TcpConnection& operator=(const TcpConnection&) = delete;

    // Called on the queue with each new state. Any thread; an empty handler removes it, and it is
    // not called any more from then on, but a call that has begun goes on.
    void setStateHandler(StateHandler handler);

    // Begins to connect; state and receive callbacks come on `queue`, which must outlive the
    // connection. Once.
    void start(SerialQueue& queue);

    // Asks for the next read; called once on the queue. One may be outstanding.
    void receive(Receive handler);

    // Sends the bytes after all earlier ones, also before the connection is ready. The completion
    // comes on the connection's own thread, not the queue: a link that breaks is noticed while the
    // queue is busy. After cancel() nothing is sent and no completion comes. Any thread.
    void send(QByteArray data, SendCompletion completion);

    // Ends the connection: what was sent before and fits the system's buffer still leaves; no
    // callback begins after this. Any thread, callbacks included.
    void cancel();

private:
    class Private;
    std::shared_ptr<Private> d;
};

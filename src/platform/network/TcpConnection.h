#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class SerialQueue;

// What the system said when something on the network failed.
struct NetworkError {
    int code = 0; // an errno value
    QString text;
};

// One TCP connection, which is opened once.
//
// It has a thread of its own, so that bytes are sent and read while the owner's queue is busy. Each
// read of the socket, of at most 64 KiB, is one receive. Reading pauses while a mebibyte waits to
// be received.
//
// Nothing is sent or received before the accounts that listen and that hold the peer's end have
// been found to be trusted. While the connection waits in a trusted listener's queue, bytes are
// sent; the account that takes it is looked at before a byte from it counts. Where a peer has
// closed already, the listener decides alone.
class TcpConnection {
public:
    // Given a UID, returns why that account may not be the peer, or none where it may. Asked of who
    // listens and of who has the peer's end. Runs on the connection's thread.
    using AccountCheck = std::function<std::optional<QString>(quint32 uid)>;
    // No error when connected, else why not: nobody listens, the host can't be reached, the peer
    // was refused or can't be told, and so on.
    using ConnectHandler = std::function<void(const std::optional<NetworkError>& error)>;
    // The data of one read (none at the end), whether the peer has closed its side, what failed.
    using Receive = std::function<void(const QByteArray& data, bool isComplete,
                                       const std::optional<NetworkError>&)>;
    using SendCompletion = std::function<void(const std::optional<NetworkError>&)>;
    // What failed, or none where the peer has closed its side.
    using Overdue = std::function<void(const std::optional<NetworkError>&)>;

    // The host is "localhost" (127.0.0.1 and ::1 in turn) or a numeric address.
    TcpConnection(const QString& host, quint16 port, AccountCheck accountCheck);
    // Cancels and waits for the connection's thread. Not from a handler.
    ~TcpConnection();

    TcpConnection(const TcpConnection&) = delete;
    TcpConnection& operator=(const TcpConnection&) = delete;

    // Connects, and calls the handler once with the outcome. That and the receive callbacks run on
    // `queue`, which must outlive the connection. Once.
    void start(SerialQueue& queue, ConnectHandler handler);

    // Sets what is called on the connection's thread when its end has been noticed, and when that
    // end has not been received within this time, because the owner is busy or much is still to be
    // received. Before start().
    void setEnd(std::function<void()> noticed, std::chrono::milliseconds patience, Overdue overdue);

    // Asks for the next read; the handler is called once. One at a time.
    void receive(Receive handler);

    // Sends the bytes after all earlier ones; before the connection is there they wait. The
    // completion runs on the connection's thread, not on the queue, so that a broken link is
    // noticed while the queue is busy. After cancel() nothing is sent and no completion runs. Any
    // thread.
    void send(QByteArray data, SendCompletion completion);

    // Ends the connection. What the system's buffer holds still leaves. No handler is called after
    // this; one that has begun goes on. Any thread, also from a handler.
    void cancel();

private:
    class Private;
    std::shared_ptr<Private> d;
};

#pragma once

#include "platform/files/Descriptor.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

class TcpPeer;

// One TCP connection, which is opened once.
//
// It has a thread of its own, which reads and calls the handlers. Each read of the socket, of at
// most 64 KiB, is one receive. The thread reads on while the owner is not ready for the next
// receive, until a mebibyte waits.
//
// Nothing is sent or received before the accounts that listen and that hold the peer's end have
// been found to be trusted. While the connection waits in a trusted listener's queue, bytes are
// sent; the account that takes it is looked at before a byte from it counts.
class TcpConnection {
public:
    // Given a UID, returns why that account may not be the peer, or none where it may. Asked of who
    // listens and of who has the peer's end. Runs on the connection's thread.
    using AccountCheck = std::function<std::optional<QString>(quint32 uid)>;

    // All run on the connection's thread.
    struct Handlers {
        std::function<void()> connected;
        // The data of one read. Returns whether the owner is ready for the next one; if not, it
        // calls resume() later.
        std::function<bool(const QByteArray& data)> received;
        // How many bytes of one send() the kernel has accepted; not before the owner is ready.
        std::function<void(qsizetype size)> sent;
        // The peer has closed its side, or something has failed. What came before may still wait to
        // be received.
        std::function<void()> endNoticed;
        // The last call, once: after all received data has been handled, but at most `endTimeout`
        // after the end. No error where the peer has closed its side. At once where a send
        // fails, and where there is no connection: nobody listens, the peer was refused or its
        // account is not known, and so on.
        std::function<void(const std::optional<QString>& error)> ended;
    };

    // To a port of this machine.
    TcpConnection(quint16 port, AccountCheck accountCheck);
    // Cancels and waits for the connection's thread, also while that connects. Not from a handler.
    ~TcpConnection();

    // Connects. Once.
    void start(Handlers handlers, std::chrono::milliseconds endTimeout);

    // The owner is ready for the next receive. Any thread.
    void resume();

    // Calls `then` on the connection's thread when the descriptor becomes readable; what it returns
    // is what `received` would. From `received`.
    void await(Descriptor descriptor, std::function<bool()> then);

    // Sends the bytes after all earlier ones; before the connection is there they wait. Any thread.
    void send(QByteArray data);

    // Ends the connection. What the system's buffer holds still leaves. No handler is called after
    // this; one that has begun goes on. Returns whether it had not ended before: true for one
    // caller only, and then `ended` is not called. Any thread, also from a handler.
    bool cancel();

private:
    struct Outgoing {
        QByteArray data;
        qsizetype sent = 0;
        std::optional<QString> error = {};

        [[nodiscard]] bool isOver() const { return error || sent == data.size(); }
    };
    using Clock = std::chrono::steady_clock;

    void wake() const;
    void put(Outgoing& message) const;
    void run();
    void deliver();
    bool exchange();
    [[nodiscard]] int interest() const;
    [[nodiscard]] int untilOverdue() const;
    void readOnce();
    void writeSome();
    void noteEnd();
    void end(const std::optional<QString>& error);
    [[nodiscard]] std::optional<QString> unreadError() const;

    const quint16 m_port;
    const Descriptor m_wake; // an eventfd
    Handlers m_handlers;
    std::chrono::milliseconds m_endTimeout{0};

    // The thread's own.
    std::unique_ptr<TcpPeer> m_peer;
    std::deque<QByteArray> m_incoming;
    qsizetype m_waitingBytes = 0;
    bool m_isOver = false; // all has been read
    Descriptor m_awaited;
    std::function<bool()> m_then;

    // Whether the owner may get the next receive. Two threads never change it at once: the one that
    // takes a receive sets it to false, and whoever answers for that one to true.
    std::atomic_bool m_isReady = true;

    std::mutex m_mutex;  // guards what follows
    Descriptor m_socket; // set once, when connected, by the thread that reads and polls it
    std::optional<QString> m_readError;
    std::optional<Clock::time_point> m_endSeen; // written by the thread only, as the error
    std::deque<Outgoing> m_outgoing;
    std::deque<qsizetype> m_sent; // sizes of messages whose sending is still to be reported
    bool m_cancelled = false;

    std::jthread m_thread; // joined before the rest goes
};

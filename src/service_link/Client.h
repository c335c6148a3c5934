#pragma once

#include "service_link/ClientConnection.h"
#include <QString>

#include <atomic>
#include <functional>
#include <optional>

// The agent's one link to the service on this machine. When it ends, or can't be made, the process
// ends; whoever started the agent starts it again.
class Client {
public:
    // The host is "localhost", as the log has it: the link stays within the machine. `accountCheck`
    // decides which accounts may be the service, by UID.
    Client(const QString& host, quint16 port, TcpConnection::AccountCheck accountCheck,
           ClientConnection::CheckMessage checkMessage);

    // Once, on the main thread.
    void start();

    // Sends a command as one UTF-8 message and does not wait. Any thread.
    void send(const QString& command);

    // Ends the link, and with it the process, by the callback that start() sets. Any thread.
    void stop();

    // From now on only stop() ends the process, with status 0: a link that ends or breaks before
    // is no failure, and whoever calls this has something to finish first. Any thread.
    static void prepareToStop();

    // Ends the process: with status 1 where there is an error, else 0. Any thread.
    [[noreturn]] static void didStopCallback(const std::optional<QString>& error);

    // Called before the link's end ends the process, on the link's thread. Set before start().
    static inline std::function<void()> willEnd;

    const QString host;
    const quint16 port;
    ClientConnection connection;

private:
    // Who ends the process once the link has ended.
    enum class End {
        ByLink, // the link itself, with its status
        Later,  // nobody, until stop() is called
        ByStop, // stop(), with 0
    };
    static inline std::atomic<End> end = End::ByLink;
};

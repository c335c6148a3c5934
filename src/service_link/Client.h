#pragma once

#include "service_link/ClientConnection.h"

#include <QString>

#include <optional>

// The agent's one link to the service on this machine, for the agent's whole life. There is no
// second try: when the link ends the process ends, and whoever started it starts it again.
class Client {
public:
    Client(const QString& host, quint16 port, ClientConnection::CheckMessage checkMessage);

    // Once, on the main thread.
    void start();

    // Sends a command as one UTF-8 message. No sender waits for an answer. Any thread.
    void send(const QString& command);

    // Any thread. With the callback that start() installs this ends the process.
    void stop();

    // Ends the process: status 0 when nothing failed, else 1. Any thread.
    [[noreturn]] static void didStopCallback(const std::optional<NetworkError>& error);

    const QString host;
    const quint16 port;
    ClientConnection connection;
};

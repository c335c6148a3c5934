#pragma once

#include "WriteFile.h"
#include "agent_state/AppDelegate.h"
#include "windows/ConnectionStatus.h"

#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <memory>

// One agent in this process, linked over real TCP to a service that the test plays.
//
// Its files lie in a directory of their own, its waits are short, and the type-wide state is what a
// fresh process has. The program under test ends by ending the process; here that fails the test.
class AgentFixture {
public:
    AgentFixture();
    ~AgentFixture();

    // Starts the agent and waits for its link.
    bool start();

    // Sends one message as the service, and waits until the agent's log says that it was handled.
    bool send(const QByteArray& message);
    // Sends one message and waits for nothing.
    void write(const QByteArray& message) { m_agent->write(message); }
    // The messages that the agent has sent, told apart by their markers.
    QByteArrayList sent();
    // Waits for what is still being sent, then returns all and forgets it.
    QByteArrayList takeSent();

    // The lines of a log file.
    [[nodiscard]] QStringList log(const char* stream = "stdout") const;

    // Leaves allowed settings; the flag is "true" or "false".
    static void allowShowing(const QByteArray& flag);
    // The bundle's options besides the port; before start().
    QByteArray options;

    // The first window of that name; null where there is none.
    [[nodiscard]] static QWidget* topLevel(const char* name);

    // Real keys and a real pointer, through the X server. The event loop goes on meanwhile. Returns
    // when the window manager has passed everything on, and this process has heard it.
    static bool xdotool(const QString& words);

    // Waits until a window that came up by itself hears keys and clicks.
    [[nodiscard]] static bool waitUntilHeard(const QWidget* window);
    // The agent's sessions, and those of the status window: "[7Ann8Bob][7Ann8Bob]".
    [[nodiscard]] static QString sessionLists();
    std::unique_ptr<AppDelegate> delegate;

private:
    QTemporaryDir m_root;
    QTcpServer m_server;
    QTcpSocket* m_agent = nullptr;
    QByteArray m_received;
};

// A test in which each case has a new, linked agent.
class AgentTest : public QObject {
    Q_OBJECT

protected:
    std::unique_ptr<AgentFixture> m_agent;

private Q_SLOTS:
    void init();
    void cleanup() { m_agent.reset(); }
};

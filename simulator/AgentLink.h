#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QObject>
#include <QTcpServer>
#include <QTimer>

#include <chrono>
#include <optional>

class QTcpSocket;

// The service's end of the link to the agent. It listens on this machine only, for one agent at a
// time, and closes the links of other accounts' programs before a byte.
//
// An agent's message begins with a marker and has no end: it is complete when the next one begins
// or when nothing comes for a while. A message to the agent has neither: the agent takes what one
// read returns as one message, so each is sent in one write, when it has read the one before.
class AgentLink : public QObject {
    Q_OBJECT

public:
    // The login name of the account whose agent may connect; none where nobody is to ask.
    explicit AgentLink(const std::optional<QString>& account, QObject* parent = nullptr);
    ~AgentLink() override;

    // False where the port is not free; 0 takes any that is.
    [[nodiscard]] bool listen(quint16 port);
    [[nodiscard]] quint16 port() const { return m_server.serverPort(); }
    [[nodiscard]] QString listenError() const { return m_server.errorString(); }

    [[nodiscard]] bool isLinked() const { return m_socket != nullptr; }

    // Sends one message; sent() is emitted when the system has taken all of it. The next one may
    // be sent after sent() or ended().
    void send(const QByteArray& message);

    // Closes this side and reads on until the agent has closed its own. (To close both sides with
    // something unread would reset the link.)
    void close();

    // Resets the link: the agent's next read or write fails, and what it has not read is lost.
    void reset();

Q_SIGNALS:
    void linked();
    void turnedAway(const QString& reason); // a link that was closed at once
    void received(const QByteArray& message);
    void sent(const QByteArray& message);
    void ended(bool byAgent);

private:
    void takeLinks();
    [[nodiscard]] QString refusalOf(const QTcpSocket& socket) const;
    void read();
    void deliverRest();
    void write();
    void checkSent();
    void endLink(bool byAgent);

    const std::optional<QString> m_account;
    QTcpServer m_server;
    QTcpSocket* m_socket = nullptr; // the server's child
    QByteArray m_buffer;            // has come and is not a complete message yet
    QByteArray m_sending;           // empty while nothing is being sent
    QDeadlineTimer m_nextSend;      // when it may begin
    QDeadlineTimer m_patience;      // for an agent that has not read the one before
    QTimer m_quiet;
    QTimer m_gap;
    QTimer m_closing;
};

#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTcpServer>
#include <QTimer>

#include <chrono>

class QTcpSocket;

// The service's end of the link to the agent: listens on this machine only, one agent at a time.
//
// The two directions are framed differently. The agent's messages have a marker in front and no
// end, so one is whole when the next begins or when nothing more came for a while. Ours have
// neither: the agent takes what one read brings as one message, so each leaves in one write, kept
// apart in time.
class AgentLink : public QObject {
    Q_OBJECT

public:
    // After so long without another byte the agent's message is taken to be whole.
    static constexpr std::chrono::milliseconds kQuietTime{50};
    // The least time between two sends, for the agent to read the first before the second is there.
    static constexpr std::chrono::milliseconds kSendGap{30};
    // How long the agent has to close its side after an orderly close of ours.
    static constexpr std::chrono::milliseconds kCloseTime{1000};

    explicit AgentLink(QObject* parent = nullptr);
    ~AgentLink() override;

    // False when the port cannot be had; 0 takes a free one.
    [[nodiscard]] bool listen(quint16 port);
    [[nodiscard]] quint16 port() const { return m_server.serverPort(); }
    [[nodiscard]] QString listenError() const { return m_server.errorString(); }

    [[nodiscard]] bool isLinked() const { return m_socket != nullptr; }

    // Sends one message, later when the last one left just now; sent() says when the system has
    // taken it whole. One at a time: not again before sent() or ended().
    void send(const QByteArray& message);

    // Ends the link in an orderly way: says that nothing more comes, and goes on reading until the
    // agent has closed too. (Closing outright with something unread would reset the link.)
    void close();

    // Breaks the link at once, so that the agent's next read or write fails. What the agent has not
    // read yet is lost.
    void reset();

Q_SIGNALS:
    void linked();
    void turnedAway(); // another agent came while one was linked, and was closed
    void received(const QByteArray& message);
    void sent(const QByteArray& message);
    void ended(bool byAgent);

private:
    void takeLinks();
    void read();
    void deliverRest();
    void write();
    void checkSent();
    void endLink(bool byAgent);

    QTcpServer m_server;
    QTcpSocket* m_socket = nullptr; // the server's child
    QByteArray m_buffer;            // came, but is not a whole message yet
    QByteArray m_sending;           // empty when nothing is on its way
    QElapsedTimer m_sinceSent;
    QTimer m_quiet;
    QTimer m_gap;
    QTimer m_closing;
};

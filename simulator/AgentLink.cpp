#include "simulator/AgentLink.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <chrono>
#include <utility>

#include <sys/socket.h>

namespace {

using namespace std::chrono_literals;

// An agent's message is complete when no byte has come for so long.
constexpr auto kQuietTime = 50ms;
// The least time between two sends, so that the agent reads the first before the second comes.
constexpr auto kSendGap = 30ms;
// The time that the agent has to close its side after close().
constexpr auto kCloseTime = 1s;

constexpr QByteArrayView kMarker = "#####";

// Where the second message begins; -1 where there is none yet.
qsizetype nextMessage(const QByteArray& bytes)
{
    return bytes.indexOf(kMarker, bytes.startsWith(kMarker) ? kMarker.size() : 0);
}

} // namespace

AgentLink::AgentLink(QObject* parent) : QObject(parent)
{
    for (QTimer* const timer : {&m_quiet, &m_gap, &m_closing}) {
        timer->setSingleShot(true);
    }
    m_gap.setTimerType(Qt::PreciseTimer);
    connect(&m_server, &QTcpServer::newConnection, this, &AgentLink::takeLinks);
    connect(&m_quiet, &QTimer::timeout, this, &AgentLink::deliverRest);
    connect(&m_gap, &QTimer::timeout, this, &AgentLink::write);
    connect(&m_closing, &QTimer::timeout, this, [this] { endLink(false); });
}

AgentLink::~AgentLink()
{
    // Its destruction emits disconnected().
    if (m_socket) {
        m_socket->disconnect(this);
    }
}

bool AgentLink::listen(quint16 port)
{
    return m_server.listen(QHostAddress(QHostAddress::LocalHost), port);
}

void AgentLink::takeLinks()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        if (m_socket) {
            socket->abort();
            socket->deleteLater();
            Q_EMIT turnedAway();
            continue;
        }
        m_socket = socket;
        m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(m_socket, &QTcpSocket::readyRead, this, &AgentLink::read);
        connect(m_socket, &QTcpSocket::bytesWritten, this, &AgentLink::checkSent);
        connect(m_socket, &QTcpSocket::disconnected, this, [this] { endLink(true); });
        Q_EMIT linked();
    }
}

void AgentLink::read()
{
    m_buffer += m_socket->readAll();
    for (qsizetype next = nextMessage(m_buffer); next >= 0; next = nextMessage(m_buffer)) {
        const QByteArray message = m_buffer.first(next);
        m_buffer.remove(0, next);
        Q_EMIT received(message);
    }
    if (!m_buffer.isEmpty()) {
        m_quiet.start(kQuietTime);
    }
}

void AgentLink::deliverRest()
{
    m_quiet.stop();
    const QByteArray message = std::exchange(m_buffer, {});
    if (!message.isEmpty()) {
        Q_EMIT received(message);
    }
}

void AgentLink::send(const QByteArray& message)
{
    if (!m_socket) {
        return;
    }
    m_sending = message;
    m_gap.start(static_cast<int>(m_nextSend.remainingTime()));
}

void AgentLink::write()
{
    m_socket->write(m_sending);
    m_socket->flush(); // at once, as one piece
}

void AgentLink::checkSent()
{
    if (m_sending.isEmpty() || m_socket->bytesToWrite() > 0) {
        return;
    }
    m_nextSend.setRemainingTime(kSendGap, Qt::PreciseTimer);
    Q_EMIT sent(std::exchange(m_sending, {}));
}

void AgentLink::close()
{
    if (!m_socket) {
        return;
    }
    ::shutdown(static_cast<int>(m_socket->socketDescriptor()), SHUT_WR);
    m_closing.start(kCloseTime);
}

void AgentLink::reset()
{
    if (!m_socket) {
        return;
    }
    const linger atOnce{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(static_cast<int>(m_socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce,
                 sizeof atOnce);
    endLink(false);
}

void AgentLink::endLink(bool byAgent)
{
    m_socket->disconnect(this);
    m_buffer += m_socket->readAll();
    m_socket->abort();
    m_socket->deleteLater();
    m_socket = nullptr;
    m_sending.clear();
    m_gap.stop();
    m_closing.stop();
    deliverRest();
    Q_EMIT ended(byAgent);
}

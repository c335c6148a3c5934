#include "simulator/AgentLink.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <algorithm>
#include <array>
#include <utility>

#include <sys/socket.h>

namespace {

constexpr QByteArrayView kMarker = "#####";

// What may follow the marker. Spelt here and not taken from the agent's sources: a stand-in that
// shares the agent's list would not notice a mistake in it.
constexpr std::array<QByteArrayView, 11> kAgentCommands{
    "request=connections_status",
    "request=restart",
    "update_user=",
    "accept_connection=",
    "decline_connection=",
    "disconnect_session=",
    "close_chat=",
    "chat_request=",
    "send_chat=",
    "result_command={",
    "result_command_failed_to_read",
};

bool beginsMessage(QByteArrayView bytes)
{
    if (!bytes.startsWith(kMarker)) {
        return false;
    }
    const QByteArrayView rest = bytes.sliced(kMarker.size());
    for (const QByteArrayView command : kAgentCommands) {
        if (rest.startsWith(command)) {
            return true;
        }
    }
    return false;
}

// Where the message after the first one begins, -1 when none does yet. A person may type anything
// into a chat, markers included: inside the strings of a JSON payload nothing begins.
qsizetype nextMessage(const QByteArray& bytes)
{
    const qsizetype equals = bytes.indexOf('=');
    const bool isJson = equals > 0 && equals + 1 < bytes.size() && bytes[equals + 1] == '{';
    bool inString = false;
    for (qsizetype i = 1; i < bytes.size(); ++i) {
        if (isJson && i > equals && bytes[i] == '"') {
            inString = !inString;
        } else if (inString && bytes[i] == '\\') {
            ++i;
        } else if (!inString && beginsMessage(QByteArrayView(bytes).sliced(i))) {
            return i;
        }
    }
    return -1;
}

} // namespace

AgentLink::AgentLink(QObject* parent) : QObject(parent)
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(kQuietTime);
    m_gap.setSingleShot(true);
    m_gap.setTimerType(Qt::PreciseTimer);
    m_closing.setSingleShot(true);
    m_closing.setInterval(kCloseTime);
    connect(&m_server, &QTcpServer::newConnection, this, &AgentLink::takeLinks);
    connect(&m_quiet, &QTimer::timeout, this, &AgentLink::deliverRest);
    connect(&m_gap, &QTimer::timeout, this, &AgentLink::write);
    connect(&m_closing, &QTimer::timeout, this, [this] { endLink(false); });
}

AgentLink::~AgentLink()
{
    // The socket says that it ends when it is destroyed, and would find us half destroyed.
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
        m_quiet.start();
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
    if (!m_socket || message.isEmpty()) {
        return;
    }
    m_sending = message;
    const std::chrono::milliseconds since{m_sinceSent.isValid() ? m_sinceSent.elapsed()
                                                                : kSendGap.count()};
    m_gap.start(std::max(kSendGap - since, std::chrono::milliseconds{0}));
}

void AgentLink::write()
{
    m_socket->write(m_sending);
    m_socket->flush(); // now and in one piece, not with what might be written later
}

void AgentLink::checkSent()
{
    if (m_sending.isEmpty() || m_socket->bytesToWrite() > 0) {
        return;
    }
    m_sinceSent.start();
    Q_EMIT sent(std::exchange(m_sending, {}));
}

void AgentLink::close()
{
    if (!m_socket) {
        return;
    }
    ::shutdown(static_cast<int>(m_socket->socketDescriptor()), SHUT_WR);
    m_closing.start();
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
    m_sinceSent.invalidate();
    m_gap.stop();
    m_closing.stop();
    deliverRest();
    Q_EMIT ended(byAgent);
}

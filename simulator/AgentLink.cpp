#include "simulator/AgentLink.h"

#include "platform/accounts/Account.h"
#include "platform/network/SocketOwners.h"

#include <QFile>
#include <QHostAddress>
#include <QTcpSocket>

#include <chrono>
#include <utility>

#include <sys/socket.h>

namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// An agent's message is complete when no byte has come for so long.
constexpr auto kQuietTime = 50ms;
// The least time between two sends, and between two looks whether the agent has read the first.
constexpr auto kSendGap = 30ms;
// So long an agent that does not read is waited for.
constexpr auto kPatience = 10s;
// The time that the agent has to close its side after close().
constexpr auto kCloseTime = 1s;

constexpr QByteArrayView kMarker = "#####";

// Where the second message begins; -1 where there is none yet.
qsizetype nextMessage(const QByteArray& bytes)
{
    return bytes.indexOf(kMarker, bytes.startsWith(kMarker) ? kMarker.size() : 0);
}

// Whether the agent has still to read some of what it was sent, as the kernel's table of its
// sockets says (proc(5)): the other end of this socket is in it, too.
bool isBehind(const QTcpSocket& socket)
{
    const auto end = [](quint16 port) {
        return ':' + QByteArray::number(port, 16).rightJustified(4, '0').toUpper();
    };
    QFile table(u"/proc/self/net/tcp"_s);
    if (!table.open(QFile::ReadOnly)) {
        return false;
    }
    // "sl local_address rem_address st tx_queue:rx_queue ..."
    for (const QByteArray& line : table.readAll().split('\n')) {
        const QByteArrayList fields = line.simplified().split(' ');
        if (fields.size() > 4 && fields.at(1).endsWith(end(socket.peerPort())) &&
            fields.at(2).endsWith(end(socket.localPort()))) {
            return !fields.at(4).endsWith(":00000000");
        }
    }
    return false;
}

} // namespace

AgentLink::AgentLink(const std::optional<QString>& account, QObject* parent)
    : QObject(parent), m_account(account)
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
        if (const QString refusal = refusalOf(*socket); !refusal.isEmpty()) {
            socket->abort();
            socket->deleteLater();
            Q_EMIT turnedAway(refusal);
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

// Why the link is not taken; empty where it is.
QString AgentLink::refusalOf(const QTcpSocket& socket) const
{
    if (m_socket) {
        return u"another agent came, and there is one at a time"_s;
    }
    if (!m_account) {
        return {};
    }
    const auto owner = SocketOwners::ofPeer(static_cast<int>(socket.socketDescriptor()));
    if (!owner) {
        return u"the system does not tell whose program came"_s;
    }
    const QString name = Account::loginName(*owner);
    return name == *m_account ? QString() : u"a program of the account %1 came"_s.arg(name);
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
    m_patience.setRemainingTime(kPatience);
    m_gap.start(static_cast<int>(m_nextSend.remainingTime()));
}

void AgentLink::write()
{
    if (isBehind(*m_socket) && !m_patience.hasExpired()) {
        m_gap.start(kSendGap);
        return;
    }
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

#include "platform/desktop/Notifications.h"

#include "platform/bus/Bus.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"

#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"org.freedesktop.Notifications"_s; // and its interface
const QString kPath = u"/org/freedesktop/Notifications"_s;
const QString kClick = u"default"_s; // the action's key

QDBusMessage callOf(const QString& service, const QString& method, const QVariantList& arguments)
{
    auto call = QDBusMessage::createMethodCall(service, kPath, kService, method);
    call.setArguments(arguments);
    return call;
}

// Text as D-Bus takes it: Unicode without NUL. Half a surrogate pair becomes a question mark.
QString sendable(const QString& text)
{
    return QString::fromUtf8(text.toUtf8()).replace(QChar::Null, QChar::ReplacementCharacter);
}

} // namespace

Notifications::Notifications(QString applicationName, QString iconPath)
    : m_applicationName(std::move(applicationName)), m_iconPath(std::move(iconPath))
{
    Worker::runThen(&Bus::session, this, [this](const QDBusConnection& bus) { watchBus(bus); });
}

void Notifications::change(Place place, const std::optional<Content>& content)
{
    MainQueue::assertMainThread();
    Slot& slot = m_slots[static_cast<std::size_t>(place)];
    slot.content = content;
    slot.isChanged = true;
    slot.isTried = false;
    sendChanges();
}

void Notifications::letPass(Place place)
{
    if (auto content = m_slots[static_cast<std::size_t>(place)].content;
        content && content->stays) {
        content->stays = false;
        change(place, content);
    }
}

void Notifications::withdrawAll()
{
    constexpr int kTimeLimit = 200; // milliseconds
    QList<QDBusPendingCall> calls;
    const QDeadlineTimer deadline(kTimeLimit);
    for (Slot& slot : m_slots) {
        slot.content.reset();
        while (slot.pending && !slot.pending->isFinished() && !deadline.hasExpired()) {
            QThread::msleep(1); // the bus has a thread of its own
        }
        slot.isChanged = slot.pending && !slot.pending->isFinished(); // closed at the reply
        if (slot.pending && !slot.isChanged) {
            const QDBusMessage reply = slot.pending->reply();
            // On an error what it was to replace is still shown.
            if (reply.type() == QDBusMessage::ReplyMessage) {
                slot.id = reply.arguments().value(0).toUInt();
            }
        }
        if (slot.id != 0) {
            calls.append(m_bus->asyncCall(closing(slot), kTimeLimit));
        }
    }
    for (QDBusPendingCall& call : calls) {
        call.waitForFinished();
    }
}

void Notifications::watchBus(const QDBusConnection& bus)
{
    if (!bus.isConnected()) {
        return;
    }
    m_bus = bus;
    Bus::receive(bus, kPath, kService, {u"NotificationClosed"_s, u"ActionInvoked"_s}, this,
                 SLOT(receive(QDBusMessage)));
    Bus::watchOwner(bus, kService, this, [this](const QString& owner) { setServer(owner); });
    sendChanges(); // the service may start for it
}

// Another server, or a restarted one, shows nothing of what the former one showed; what is to stay
// is shown there, too.
void Notifications::setServer(const QString& uniqueName)
{
    if (uniqueName == m_server) {
        return;
    }
    m_server = uniqueName;
    m_takesMarkup.reset();
    if (m_calledServer.isEmpty()) {
        m_calledServer = m_server; // it may have been started for the call
    }
    for (Slot& slot : m_slots) {
        const bool stays = slot.content && slot.content->stays;
        slot.id = 0;
        slot.isChanged = slot.isChanged || stays;
        slot.isTried = slot.isTried && !stays;
    }
    if (!m_server.isEmpty()) {
        sendChanges();
    }
}

void Notifications::sendChanges()
{
    for (Slot& slot : m_slots) {
        if (!m_bus || !slot.isChanged || slot.pending) {
            continue;
        }
        if (!slot.content) {
            slot.isChanged = false;
            closeShown(slot);
        } else if (m_takesMarkup) {
            slot.isChanged = false;
            notify(slot);
        } else if (!m_isCallingForCapabilities) {
            callForCapabilities();
        }
    }
}

void Notifications::callForCapabilities()
{
    m_isCallingForCapabilities = true;
    m_calledServer = m_server;
    for (Slot& slot : m_slots) {
        slot.isTried = slot.isChanged;
    }
    // By the service's name, so that the bus starts it where it can.
    Bus::call(*m_bus, callOf(kService, u"GetCapabilities"_s, {}), Bus::kUsualTimeLimit, this,
              [this](const QDBusMessage& reply) {
                  m_isCallingForCapabilities = false;
                  if (reply.type() == QDBusMessage::ReplyMessage && m_calledServer == m_server) {
                      const auto capabilities = reply.arguments().value(0).toStringList();
                      m_takesMarkup = capabilities.contains(u"body-markup");
                  } else {
                      // Given up, so that nothing is tried for ever; what has come since is not.
                      for (Slot& slot : m_slots) {
                          slot.isChanged = slot.isChanged && !slot.isTried;
                      }
                  }
                  sendChanges();
              });
}

void Notifications::notify(Slot& slot)
{
    const QString text = sendable(slot.content->text);
    const QString action = sendable(slot.content->action);
    const uchar urgency = slot.content->stays ? 2 : 1;
    const QVariantMap hints = {{u"urgency"_s, QVariant::fromValue(urgency)},
                               {u"desktop-entry"_s, u"vantoryAgent"_s}};
    const QVariantList arguments = {sendable(m_applicationName),
                                    slot.id,
                                    sendable(m_iconPath),
                                    sendable(slot.content->title),
                                    *m_takesMarkup ? text.toHtmlEscaped() : text,
                                    action.isEmpty() ? QStringList() : QStringList{kClick, action},
                                    hints,
                                    slot.content->stays ? 0 : -1};
    slot.pending = Bus::call(*m_bus, callOf(m_server, u"Notify"_s, arguments), Bus::kUsualTimeLimit,
                             this, [this, &slot, called = m_server](const QDBusMessage& reply) {
                                 slot.pending.reset();
                                 if (reply.type() != QDBusMessage::ReplyMessage) {
                                     closeShown(slot); // it was to be replaced
                                 } else if (called == m_server) {
                                     slot.id = reply.arguments().value(0).toUInt();
                                     Q_EMIT taken(static_cast<Place>(&slot - m_slots.data()));
                                 }
                                 sendChanges();
                             });
}

QDBusMessage Notifications::closing(Slot& slot) const
{
    return callOf(m_server, u"CloseNotification"_s, {std::exchange(slot.id, 0U)});
}

void Notifications::closeShown(Slot& slot)
{
    if (slot.id != 0) {
        m_bus->send(closing(slot));
    }
}

void Notifications::receive(const QDBusMessage& signal)
{
    const auto id = signal.arguments().value(0).toUInt();
    const auto slot =
        std::find_if(m_slots.begin(), m_slots.end(), [id](const Slot& s) { return s.id == id; });
    if (id == 0 || slot == m_slots.end() || signal.service() != m_server) {
        return;
    }
    if (signal.member() == u"NotificationClosed") {
        slot->id = 0;
        if (!slot->isChanged && !slot->pending) {
            slot->content.reset();
        }
    } else if (signal.arguments().value(1).toString() == kClick) {
        Q_EMIT activated(static_cast<Place>(slot - m_slots.begin()));
    }
}

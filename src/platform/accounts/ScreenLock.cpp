#include "platform/accounts/ScreenLock.h"

#include "platform/accounts/ConsoleSession.h"
#include "platform/bus/Bus.h"
#include "platform/threads/Worker.h"

#include <QDBusVariant>
#include <QTimer>

#include <chrono>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::seconds kPause(3); // between the attempts to find the session

const QString kLogind = u"org.freedesktop.login1"_s;

} // namespace

ScreenLock::ScreenLock(QObject* parent) : QObject(parent)
{
    findSession();
}

ScreenLock::~ScreenLock() = default;

void ScreenLock::findSession()
{
    struct Found {
        QString session;
        std::optional<QDBusConnection> bus;
    };
    const auto find = [] {
        Found found;
        // This has a time limit, while QtDBus would wait for a bus that hangs on its only thread,
        // and block the main thread's calls on another bus. So it gets only a bus that has just
        // answered, and not before the session bus, which others connect to meanwhile.
        if (const auto session = ConsoleSession::ownSession()) {
            [[maybe_unused]] const auto first = Bus::session();
            found = {*session, QDBusConnection::systemBus()};
        }
        return found;
    };
    Worker::runThen(find, m_self, [this](const Found& found) {
        if (found.bus) {
            watch(*found.bus, found.session);
        } else if (--m_attemptsLeft > 0) {
            QTimer::singleShot(kPause, this, &ScreenLock::findSession); // logind may be busy
        }
    });
}

void ScreenLock::watch(const QDBusConnection& bus, const QString& session)
{
    // The subscriptions come before the first question, so that no change is missed.
    m_session = session;
    m_bus = std::make_unique<QDBusConnection>(bus);
    m_changes = std::make_unique<Bus::Signals>(bus, session, u"org.freedesktop.DBus.Properties"_s,
                                               QStringList{u"PropertiesChanged"_s});
    // Anyone can send such a signal, so it only leads to the question.
    connect(m_changes.get(), &Bus::Signals::received, this, &ScreenLock::askForState);
    Bus::watchOwner(bus, kLogind, this, [this](const QString& owner) {
        if (!owner.isEmpty()) {
            askForState(); // a restarted logind keeps the sessions and their names
        }
    });
}

void ScreenLock::askForState()
{
    m_isOutdated = m_isAsking;
    if (m_isAsking) {
        return;
    }
    m_isAsking = true;
    const auto question = Bus::propertyQuestion(
        kLogind, m_session, u"org.freedesktop.login1.Session"_s, u"LockedHint"_s);
    Bus::ask(*m_bus, question, Bus::kUsualTimeLimit, this, [this](const QDBusMessage& answer) {
        m_isAsking = false;
        // An error has no such value.
        const auto value = qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant();
        const bool isKnown = value.metaType().id() == QMetaType::Bool;
        const bool isChanged = isKnown && value.toBool() != m_isLocked;
        if (isChanged) {
            m_isLocked = value.toBool();
        }
        if (m_isOutdated) {
            askForState();
        }
        if (isChanged) {
            Q_EMIT changed(m_isLocked);
        }
    });
}

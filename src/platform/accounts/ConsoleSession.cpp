#include "platform/accounts/ConsoleSession.h"

#include "platform/bus/BusConnection.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <mutex>
#include <utility>

#include <unistd.h>

using namespace Qt::StringLiterals;
using ConsoleSession::Screen;

namespace {

using Clock = BusConnection::Clock;

constexpr std::chrono::milliseconds kTimeLimit(500);
constexpr std::chrono::seconds kPause(3); // between the attempts to connect
constexpr int kAttempts = 10;

constexpr auto kService = "org.freedesktop.login1";
constexpr auto kManagerPath = "/org/freedesktop/login1";
constexpr auto kManager = "org.freedesktop.login1.Manager";
constexpr auto kSeatPath = "/org/freedesktop/login1/seat/seat0";
constexpr auto kSeat = "org.freedesktop.login1.Seat";
constexpr auto kSession = "org.freedesktop.login1.Session";
constexpr auto kUser = "org.freedesktop.login1.User";

// The signals to watch: changes of sessions, seats and users, and that logind has (re)started.
constexpr const char* kSignals[] = {
    "type='signal',sender='org.freedesktop.login1',interface='org.freedesktop.DBus.Properties'",
    "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',"
    "arg0='org.freedesktop.login1',arg1=''",
};

// The one connection to logind, which all threads share.
struct Shared {
    std::mutex mutex; // guards the rest
    BusConnection bus;
    std::function<void(bool)> tell;
    std::optional<bool> isLocked; // what was told last
};

// Never destroyed: other threads may ask while the process ends.
Shared& shared = *new Shared;

// Calls to logind, which share one time limit. Other threads wait meanwhile.
class Logind {
public:
    Logind()
    {
        readNews();
        if (m_bus.isOpen()) {
            m_bus.setDeadline(m_deadline);
            return;
        }
        m_bus = BusConnection(BusConnection::kSystem, m_deadline);
        for (const char* const rule : kSignals) {
            if (!m_bus.callBus("AddMatch", {rule})) {
                m_bus = BusConnection();
            }
        }
    }

    std::optional<QString> consoleUser()
    {
        const auto active = activeSession();
        const auto own = ownSession();
        const auto& decisive = own ? own : active;
        if (decisive && isGreeter(*decisive)) {
            return u"loginwindow"_s;
        }
        const auto name = active ? sessionText(*active, "Name") : std::nullopt;
        return name && !name->isEmpty() ? std::optional(QString::fromUtf8(*name)) : std::nullopt;
    }

    // Asks, once more if something changes meanwhile, and tells the follower.
    Screen screen()
    {
        Screen screen = Screen::Unknown;
        do {
            screen = askForScreen();
        } while (readNews() && Clock::now() < m_deadline);
        const bool isLocked = screen == Screen::Locked || screen == Screen::LockedBehindAnother;
        if (screen != Screen::Unknown && isLocked != shared.isLocked && shared.tell) {
            shared.isLocked = isLocked;
            MainQueue::post([tell = shared.tell, isLocked] { tell(isLocked); });
        }
        return screen;
    }

private:
    // Whether a signal has arrived besides the replies.
    bool readNews()
    {
        bool hasNews = false;
        while (m_bus.processOne()) {
            hasNews = true;
        }
        return hasNews;
    }

    // The object path that a method of the manager returns.
    std::optional<QByteArray> object(const char* method, const BusConnection::Argument& argument)
    {
        return m_bus.call(kService, kManagerPath, kManager, method, {argument})
            .value<const char*>('o');
    }

    std::optional<QByteArray> sessionText(const QByteArray& session, const char* name)
    {
        return m_bus.property(kService, session.constData(), kSession, name, "s")
            .value<const char*>('s');
    }

    // The session that a property names, as "(so)".
    std::optional<QByteArray> sessionIn(const QByteArray& path, const char* interface,
                                        const char* name)
    {
        BusReply reply = m_bus.property(kService, path.constData(), interface, name, "(so)");
        reply.enter('r', "so");
        const auto id = reply.value<const char*>('s');
        const bool isSession = id && **id != '\0';
        return isSession ? reply.value<const char*>('o') : std::nullopt;
    }

    std::optional<quint32> ownerOf(const QByteArray& session)
    {
        BusReply owner = m_bus.property(kService, session.constData(), kSession, "User", "(uo)");
        owner.enter('r', "uo");
        return owner.value<quint32>('u');
    }

    bool isGreeter(const QByteArray& session) { return sessionText(session, "Class") == "greeter"; }

    std::optional<QByteArray> activeSession()
    {
        return sessionIn(kSeatPath, kSeat, "ActiveSession");
    }

    // The user's main session: logind prefers a graphical one.
    std::optional<QByteArray> mainSession()
    {
        const auto user = object("GetUser", m_uid);
        return user ? sessionIn(*user, kUser, "Display") : std::nullopt;
    }

    // Whether the session is the user's and has a screen. A user manager's and cron's sessions,
    // whose classes are "manager" and "background", have none, and neither have those of SSH
    // ("tty", without a seat).
    bool isOwnDesktop(const QByteArray& session)
    {
        const QByteArray kind = sessionText(session, "Class").value_or(QByteArray());
        const QByteArray type = sessionText(session, "Type").value_or(QByteArray());
        return ownerOf(session) == m_uid &&
               (kind.startsWith("user") || kind == "greeter") && // "user-early", for one
               (type == "x11" || type == "wayland" || sessionIn(session, kSession, "Seat"));
    }

    // The desktop session that the program belongs to.
    std::optional<QByteArray> ownSession()
    {
        std::optional<QByteArray> session;
        const auto isOwn = [&](std::optional<QByteArray> candidate) {
            session = std::move(candidate);
            return session && isOwnDesktop(*session);
        };
        const QByteArray id = qgetenv("XDG_SESSION_ID");
        const bool isFound = (!id.isEmpty() && isOwn(object("GetSession", id.constData()))) ||
                             isOwn(object("GetSessionByPID", static_cast<quint32>(::getpid()))) ||
                             isOwn(activeSession()) || isOwn(mainSession());
        return isFound ? session : std::nullopt;
    }

    // One that can't be told is another.
    bool isAnotherAtTheSeat()
    {
        const auto active = activeSession();
        return active && ownerOf(*active) != m_uid && !isGreeter(*active);
    }

    Screen askForScreen()
    {
        const auto session = ownSession();
        if (!session) {
            const BusReply reply =
                m_bus.call(kService, kManagerPath, "org.freedesktop.DBus.Peer", "Ping");
            return reply ? Screen::NoSession : Screen::Unknown;
        }
        // Asked first: if the time runs out here, reading the lock fails too, and the result is
        // Unknown.
        const bool isAnothers = isAnotherAtTheSeat();
        const auto isLocked =
            m_bus.property(kService, session->constData(), kSession, "LockedHint", "b").flag();
        if (!isLocked) {
            return Screen::Unknown;
        }
        const Screen locked = isAnothers ? Screen::LockedBehindAnother : Screen::Locked;
        return *isLocked ? locked : Screen::Unlocked;
    }

    const quint32 m_uid = ::getuid();
    const Clock::time_point m_deadline = Clock::now() + kTimeLimit;
    const std::lock_guard<std::mutex> m_lock{shared.mutex};
    BusConnection& m_bus = shared.bus;
};

void follow(int attempts);

// Asks again when the connection has something to read, or for a new connection. Main thread.
void waitForNews(const BusConnection& bus, int attempts)
{
    auto* const application = QCoreApplication::instance();
    if (bus.isReady()) {
        auto* const notifier =
            new QSocketNotifier(bus.descriptor(), QSocketNotifier::Read, application);
        // The copy of the connection keeps the descriptor open while it is watched.
        QObject::connect(notifier, &QSocketNotifier::activated, notifier, [notifier, bus] {
            notifier->setEnabled(false);
            notifier->deleteLater();
            follow(kAttempts);
        });
    } else if (attempts > 0) {
        QTimer::singleShot(kPause, application, [attempts] { follow(attempts); });
    }
}

void follow(int attempts)
{
    Worker::run([attempts] {
        ConsoleSession::screen();
        const std::lock_guard lock(shared.mutex);
        MainQueue::post([bus = shared.bus, attempts] { waitForNews(bus, attempts - 1); });
    });
}

} // namespace

std::optional<QString> ConsoleSession::consoleUser()
{
    Logind logind;
    const auto user = logind.consoleUser();
    if (shared.tell) {
        logind.screen(); // what was read on the way may have been a signal
    }
    return user;
}

Screen ConsoleSession::screen()
{
    return Logind().screen();
}

void ConsoleSession::followLock(std::function<void(bool)> tell)
{
    const std::lock_guard lock(shared.mutex);
    const bool isFirst = !std::exchange(shared.tell, std::move(tell));
    shared.isLocked.reset();
    if (isFirst) {
        follow(kAttempts);
    }
}

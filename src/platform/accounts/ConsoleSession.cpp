#include "platform/accounts/ConsoleSession.h"

#include <QByteArray>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <systemd/sd-bus.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

constexpr std::chrono::milliseconds kTimeLimit(500);

constexpr auto kService = "org.freedesktop.login1";
constexpr auto kManagerPath = "/org/freedesktop/login1";
constexpr auto kManager = "org.freedesktop.login1.Manager";
constexpr auto kSeatPath = "/org/freedesktop/login1/seat/seat0";
constexpr auto kSeat = "org.freedesktop.login1.Seat";
constexpr auto kSession = "org.freedesktop.login1.Session";
constexpr auto kUser = "org.freedesktop.login1.User";

// Questions to logind, over a connection of their own. An answer that comes after the deadline, is
// an error or is not of the documented type counts as none.
class Logind {
public:
    Logind()
    {
        // Only begins to connect. The library's own call that waits for an answer also waits for
        // the connection, without a time limit; hence answerTo().
        sd_bus* bus = nullptr;
        if (sd_bus_open_system(&bus) >= 0) {
            m_bus.reset(bus);
        }
    }

    // The object path that a method of the manager returns.
    template <typename... Arguments>
    [[nodiscard]] std::optional<std::string> object(const char* method, const char* types,
                                                    Arguments... arguments)
    {
        const Message answer = call(kManagerPath, kManager, method, types, arguments...);
        return text(answer.get(), SD_BUS_TYPE_OBJECT_PATH);
    }

    // The session that is active at the seat.
    [[nodiscard]] std::optional<std::string> activeSession()
    {
        return sessionIn(kSeatPath, kSeat, "ActiveSession");
    }

    // The user's main session: logind prefers a graphical one.
    [[nodiscard]] std::optional<std::string> mainSessionOf(std::uint32_t uid)
    {
        const auto user = object("GetUser", "u", uid);
        return user ? sessionIn(user->c_str(), kUser, "Display") : std::nullopt;
    }

    // Whether the session is the user's and has a screen. A user manager's and cron's sessions,
    // whose classes are "manager" and "background", are never locked.
    [[nodiscard]] bool isDesktopOf(std::uint32_t uid, const std::string& path)
    {
        const Message answer = property(path.c_str(), kSession, "User", "(uo)");
        std::uint32_t owner = 0;
        if (!answer || sd_bus_message_read(answer.get(), "(uo)", &owner, nullptr) <= 0 ||
            owner != uid) {
            return false;
        }
        const auto kind = sessionText(path, "Class");
        return kind && kind->rfind("user", 0) == 0; // also "user-early" and the like
    }

    [[nodiscard]] std::optional<std::string> sessionText(const std::string& path, const char* name)
    {
        const Message answer = property(path.c_str(), kSession, name, "s");
        return text(answer.get(), SD_BUS_TYPE_STRING);
    }

    [[nodiscard]] bool sessionFlag(const std::string& path, const char* name)
    {
        const Message answer = property(path.c_str(), kSession, name, "b");
        int value = 0;
        return answer && sd_bus_message_read_basic(answer.get(), SD_BUS_TYPE_BOOLEAN, &value) > 0 &&
               value != 0;
    }

private:
    static Message none() { return {nullptr, &sd_bus_message_unref}; }

    [[nodiscard]] static std::optional<std::string> text(sd_bus_message* answer, char type)
    {
        const char* value = nullptr;
        if (answer == nullptr || sd_bus_message_read_basic(answer, type, &value) <= 0) {
            return std::nullopt;
        }
        return value;
    }

    // The session that a property names, as "(so)".
    [[nodiscard]] std::optional<std::string> sessionIn(const char* path, const char* interface,
                                                       const char* name)
    {
        const Message answer = property(path, interface, name, "(so)");
        const char* id = nullptr;
        const char* session = nullptr;
        if (!answer || sd_bus_message_read(answer.get(), "(so)", &id, &session) <= 0 ||
            *id == '\0') {
            return std::nullopt; // an empty id means no session
        }
        return session;
    }

    // The next value to read in the answer is the property's.
    Message property(const char* path, const char* interface, const char* name, const char* type)
    {
        Message answer =
            call(path, "org.freedesktop.DBus.Properties", "Get", "ss", interface, name);
        if (!answer ||
            sd_bus_message_enter_container(answer.get(), SD_BUS_TYPE_VARIANT, type) <= 0) {
            return none();
        }
        return answer;
    }

    template <typename... Arguments>
    Message call(const char* path, const char* interface, const char* method, const char* types,
                 Arguments... arguments)
    {
        sd_bus_message* message = nullptr;
        if (!m_bus || sd_bus_message_new_method_call(m_bus.get(), &message, kService, path,
                                                     interface, method) < 0) {
            return none();
        }
        const Message request(message, &sd_bus_message_unref);
        if (sd_bus_message_append(message, types, arguments...) < 0) {
            return none();
        }
        return answerTo(message);
    }

    // Sends the request, and processes the connection's traffic, from its set-up on, until the
    // answer or the deadline comes.
    Message answerTo(sd_bus_message* request)
    {
        Message answer = none();
        const auto store = [](sd_bus_message* message, void* target, sd_bus_error*) {
            static_cast<Message*>(target)->reset(sd_bus_message_ref(message));
            return 0;
        };
        sd_bus_slot* slot = nullptr;
        constexpr auto kNoTimeLimit = UINT64_MAX; // the loop below has one
        if (sd_bus_call_async(m_bus.get(), &slot, request, store, &answer, kNoTimeLimit) < 0) {
            return answer;
        }
        const std::unique_ptr<sd_bus_slot, decltype(&sd_bus_slot_unref)> owner(slot,
                                                                               &sd_bus_slot_unref);
        while (!answer) {
            const auto left =
                std::chrono::duration_cast<std::chrono::microseconds>(m_deadline - Clock::now());
            if (left.count() <= 0) {
                break;
            }
            const int done = sd_bus_process(m_bus.get(), nullptr);
            if (done < 0) {
                break;
            }
            if (done == 0) {
                const int waited =
                    sd_bus_wait(m_bus.get(), static_cast<std::uint64_t>(left.count()));
                if (waited < 0 && waited != -EINTR) {
                    break;
                }
            }
        }
        return answer && sd_bus_message_is_method_error(answer.get(), nullptr) == 0
                   ? std::move(answer)
                   : none();
    }

    // Unsent messages are dropped: to send them could take long.
    struct Close {
        void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    };

    const Clock::time_point m_deadline = Clock::now() + kTimeLimit;
    std::unique_ptr<sd_bus, Close> m_bus;
};

std::optional<std::string> ownSessionIn(Logind& logind)
{
    const std::uint32_t uid = ::getuid();
    const QByteArray id = qgetenv("XDG_SESSION_ID");
    const std::function<std::optional<std::string>()> candidates[] = {
        [&] {
            return id.isEmpty() ? std::nullopt : logind.object("GetSession", "s", id.constData());
        },
        [&] {
            return logind.object("GetSessionByPID", "u", static_cast<std::uint32_t>(::getpid()));
        },
        [&] { return logind.activeSession(); },
        [&] { return logind.mainSessionOf(uid); },
    };
    for (const auto& candidate : candidates) {
        const auto session = candidate();
        if (session && logind.isDesktopOf(uid, *session)) {
            return session;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> ConsoleSession::consoleUser()
{
    Logind logind;
    const auto session = logind.activeSession();
    if (!session) {
        return std::nullopt;
    }
    const auto kind = logind.sessionText(*session, "Class");
    if (kind == "greeter") {
        return u"loginwindow"_s;
    }
    const auto name = logind.sessionText(*session, "Name");
    return kind && name && !name->empty() ? std::optional(QString::fromStdString(*name))
                                          : std::nullopt;
}

std::optional<QString> ConsoleSession::ownSession()
{
    Logind logind;
    const auto session = ownSessionIn(logind);
    return session ? std::optional(QString::fromStdString(*session)) : std::nullopt;
}

bool ConsoleSession::isScreenLocked()
{
    Logind logind;
    const auto session = ownSessionIn(logind);
    return session && logind.sessionFlag(*session, "LockedHint");
}

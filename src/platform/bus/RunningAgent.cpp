#include "platform/bus/RunningAgent.h"

#include "platform/bus/UserBus.h"
#include "platform/files/DisplayName.h"

#include <QSocketNotifier>

#include <cerrno>

#include <sys/socket.h>
#include <systemd/sd-bus.h>

using namespace Qt::StringLiterals;

namespace {

using namespace std::chrono_literals;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

constexpr const char* kName = "com.halvern.vantoryAgent"; // and the interface
constexpr const char* kPath = "/com/halvern/vantoryAgent";
constexpr auto kLongestStart = 500ms;
constexpr auto kLongestAnswer = 5s;

Message none()
{
    return {nullptr, &sd_bus_message_unref};
}

struct Answer {
    int result = -ENOTCONN; // negative: an error number
    Message message = none();
};

// Asks the agent that has the name.
template <typename... Arguments>
Answer ask(std::chrono::milliseconds limit, const char* method, const char* types,
           Arguments... arguments)
{
    const auto end = UserBus::Clock::now() + limit;
    const auto [state, connection] = UserBus::connect({}, end);
    sd_bus_message* question = nullptr;
    if (!connection || sd_bus_message_new_method_call(connection.get(), &question, kName, kPath,
                                                      kName, method) < 0) {
        return {};
    }
    const Message owner(question, &sd_bus_message_unref);
    if (sd_bus_message_set_auto_start(question, 0) < 0 ||
        sd_bus_message_append(question, types, arguments...) < 0) {
        return {};
    }
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_call(connection.get(), question, UserBus::microsecondsUntil(end) + 1,
                                   nullptr, &answer);
    return {result, Message(answer, &sd_bus_message_unref)};
}

template <typename Value>
std::optional<Value> value(const Answer& answer, char type)
{
    Value read = {};
    const bool isRead =
        answer.message && sd_bus_message_read_basic(answer.message.get(), type, &read) > 0;
    return isRead ? std::optional(read) : std::nullopt;
}

// The X server's time in the id that a launcher gives to what it starts (Startup Notification
// Protocol, "..._TIMEn"); 0 where there is none.
quint32 launchTime()
{
    const QByteArray id = qgetenv("DESKTOP_STARTUP_ID");
    const qsizetype place = id.lastIndexOf("_TIME");
    return place < 0 ? 0 : id.mid(place + 5).toUInt();
}

// A lock for each display, as the toolkit chooses it.
QString lockName()
{
    const QString x11 = DisplayName::x11();
    return u"vantoryAgent-%1.lock"_s.arg(x11.isEmpty() ? DisplayName::wayland() : x11);
}

} // namespace

// The name's owner on the bus.
class RunningAgent::Service {
public:
    explicit Service(UserBus::Connection bus) : m_bus(std::move(bus)) {}

    void answer(Requests requests);
    // The bus takes the name away. Any thread.
    void disconnect() const { ::shutdown(m_descriptor, SHUT_RDWR); }

private:
    static int onPresent(sd_bus_message* question, void* self, sd_bus_error* error);
    static int onStatus(sd_bus_message* question, void* self, sd_bus_error* error);
    static int onEndSession(sd_bus_message* question, void* self, sd_bus_error* error);
    static const sd_bus_vtable kMethods[];

    void processOne();

    const UserBus::Connection m_bus;
    const int m_descriptor = sd_bus_get_fd(m_bus.get());
    Requests m_requests;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

const sd_bus_vtable RunningAgent::Service::kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_NAMES("Present", "u", SD_BUS_PARAM(time), "q", SD_BUS_PARAM(port),
                             &onPresent, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_NAMES("Status", "", , "s", SD_BUS_PARAM(json), &onStatus,
                             SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_NAMES("EndSession", "x", SD_BUS_PARAM(session), "b", SD_BUS_PARAM(isEnded),
                             &onEndSession, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};

void RunningAgent::Service::answer(Requests requests)
{
    m_requests = std::move(requests);
    sd_bus* const bus = m_bus.get();
    if (sd_bus_add_object_vtable(bus, nullptr, kPath, kName, kMethods, this) < 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    const auto process = [this] { processOne(); };
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), process);
    // What came with the answer to the question for the name has been read already.
    QMetaObject::invokeMethod(m_notifier.get(), process, Qt::QueuedConnection);
}

void RunningAgent::Service::processOne()
{
    const int done = sd_bus_process(m_bus.get(), nullptr);
    if (done == -ECONNRESET || done == -ENOTCONN) { // the bus is gone
        m_notifier->setEnabled(false);
    } else if (done > 0) {
        const auto next = [this] { processOne(); };
        QMetaObject::invokeMethod(m_notifier.get(), next, Qt::QueuedConnection);
    }
}

int RunningAgent::Service::onPresent(sd_bus_message* question, void* self, sd_bus_error*)
{
    const Requests& requests = static_cast<Service*>(self)->m_requests;
    quint32 time = 0;
    sd_bus_message_read_basic(question, SD_BUS_TYPE_UINT32, &time);
    requests.present(time);
    return sd_bus_reply_method_return(question, "q", static_cast<int>(requests.port()));
}

int RunningAgent::Service::onStatus(sd_bus_message* question, void* self, sd_bus_error*)
{
    const QByteArray status = static_cast<Service*>(self)->m_requests.status();
    return sd_bus_reply_method_return(question, "s", status.constData());
}

int RunningAgent::Service::onEndSession(sd_bus_message* question, void* self, sd_bus_error*)
{
    qint64 session = 0;
    sd_bus_message_read_basic(question, SD_BUS_TYPE_INT64, &session);
    const bool isEnded = static_cast<Service*>(self)->m_requests.endSession(session);
    return sd_bus_reply_method_return(question, "b", isEnded ? 1 : 0);
}

std::atomic<RunningAgent*> RunningAgent::s_this = nullptr;

RunningAgent::RunningAgent()
{
    m_isThisProcess = m_lock.take(lockName()) != SessionLock::Result::Busy;
    if (m_isThisProcess) {
        takeName();
    }
    if (m_isThisProcess) {
        s_this = this;
    }
}

RunningAgent::~RunningAgent()
{
    s_this = nullptr;
}

void RunningAgent::leave()
{
    RunningAgent* const agent = s_this.exchange(nullptr);
    if (agent != nullptr) {
        if (agent->m_service) {
            agent->m_service->disconnect();
        }
        agent->m_lock.release();
    }
}

bool RunningAgent::isThisProcess() const
{
    return m_isThisProcess;
}

void RunningAgent::takeName()
{
    const auto end = UserBus::Clock::now() + kLongestStart;
    auto [state, connection] = UserBus::connect({}, end);
    if (!connection) {
        return;
    }
    sd_bus* const bus = connection.get();
    sd_bus_set_method_call_timeout(bus, UserBus::microsecondsUntil(end) + 1);
    const int taken = sd_bus_request_name(bus, kName, 0);
    sd_bus_set_method_call_timeout(bus, 0); // the library's own again
    m_isThisProcess = taken != -EEXIST;
    if (taken >= 0) {
        m_service = std::make_unique<Service>(std::move(connection));
    }
}

void RunningAgent::answer(Requests requests)
{
    if (m_service) {
        m_service->answer(std::move(requests));
    }
}

std::optional<quint16> RunningAgent::present()
{
    return value<quint16>(ask(kLongestAnswer, "Present", "u", launchTime()), SD_BUS_TYPE_UINT16);
}

std::optional<QByteArray> RunningAgent::status()
{
    const Answer answer = ask(kLongestAnswer, "Status", "");
    const auto text = value<const char*>(answer, SD_BUS_TYPE_STRING);
    return text ? std::optional(QByteArray(*text)) : std::nullopt;
}

std::optional<bool> RunningAgent::endSession(qint64 session)
{
    const auto isEnded =
        value<int>(ask(kLongestAnswer, "EndSession", "x", session), SD_BUS_TYPE_BOOLEAN);
    return isEnded ? std::optional(*isEnded != 0) : std::nullopt;
}

RunningAgent::Presence RunningAgent::presence()
{
    const int result = ask(kLongestStart, "Status", "").result;
    if (result == -ETIMEDOUT) {
        return Presence::Silent;
    }
    const bool isThere = result != -EHOSTUNREACH && result != -ENXIO && result != -ENOTCONN;
    if (isThere) { // an error is an answer, too
        return Presence::Answers;
    }
    return SessionLock::isTaken(lockName()) ? Presence::Silent : Presence::None;
}

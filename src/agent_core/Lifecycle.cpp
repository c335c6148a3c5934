#include "agent_state/AppDelegate.h"
#include "chat/ChatController.h"
#include "logging/Logs.h"
#include "platform/accounts/Account.h"
#include "platform/accounts/ConsoleSession.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/StatusItem.h"
#include "platform/desktop/ToolkitDisplay.h"
#include "platform/desktop/ToolkitTranslation.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/processes/ChildProcess.h"
#include "platform/processes/ProgramEnd.h"
#include "platform/threads/MainQueue.h"
#include "platform/threads/Worker.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "settings/ServiceAccounts.h"
#include "windows/AboutController.h"
#include "windows/Bundle+extensions.h"
#include "windows/ConnectionStatus.h"
#include "windows/MessageInbox.h"
#include "windows/SecurityAccess.h"
#include "windows/SettingsWindow.h"
#include "windows/UserAcknowlegement.h"

#include <QCoreApplication>
#include <QMenu>
#include <QSysInfo>

#include <future>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// The console user's name at the login window.
const QLatin1StringView kLoginWindow = "loginwindow"_L1;
// The full name of the system's own account, which is no person's.
const QLatin1StringView kSystemAdministrator = "System Administrator"_L1;

// While there is a delegate.
std::unique_ptr<AgentState> agentState;

void logHostAndUser()
{
    const QString host = QSysInfo::machineHostName();
    // The kernel's text for a name that was never set.
    if (!host.isEmpty() && host != u"(none)") {
        printLog(host);
        printLog(Account::loginName());
    }
}

void noteStart()
{
    const QString unknown = u"unknown"_s;
    printJournal(u"version %1 (%2), process %3, user %4, port %5"_s.arg(
        Bundle::releaseVersionNumber().value_or(unknown),
        Bundle::buildVersionNumber().value_or(unknown),
        QString::number(QCoreApplication::applicationPid()), Account::loginName(),
        QString::number(AppDelegate::options.portUI)));
}

// What begins or ends.
void note(const QString& message)
{
    printLog(message);
    printJournal(message);
}

} // namespace

std::unique_ptr<Client> AppDelegate::client;

AgentState::~AgentState()
{
    qDeleteAll(messageInbox);
    qDeleteAll(chats);
}

AppDelegate::AppDelegate(ClientConnection::CheckMessage checkMessage, const QStringList& arguments,
                         MemoryFile kept)
    : m_checkMessage(std::move(checkMessage)), m_kept(std::move(kept))
{
    options = AgentOptions();
    options.arguments = arguments;
    agentState = std::make_unique<AgentState>();
    connectTimers();
}

AppDelegate::~AppDelegate()
{
    qDeleteAll(children()); // who listens
    agentState.reset();
    client.reset();
}

AgentState& AppDelegate::state()
{
    MainQueue::assertMainThread();
    return *agentState;
}

// The windows that live as long as the agent, what the user does in them, and what they follow.
void AppDelegate::makeWindows()
{
    state().connectionStatus = std::make_unique<ConnectionStatus>(&AppDelegate::labels);
    state().userAcknowledge = std::make_unique<UserAcknowledgement>(&AppDelegate::labels);
    ConnectionStatus* const status = state().connectionStatus.get();
    status->showConnectionDetail = options.showConnectionDetail;
    status->isManaged = state().isManaged;
    connect(status, &ConnectionStatus::endRequested, this, &AppDelegate::endSession);
    connect(status, &ConnectionStatus::chatRequested, this, &AppDelegate::askForChat);
    const SessionList* const sessions = &state().sessions;
    connect(sessions, &SessionList::added, status, &ConnectionStatus::setConnection);
    connect(sessions, &SessionList::removed, status, &ConnectionStatus::resetConnection);
    connect(sessions, &SessionList::hasNotEnded, status,
            [status](const SessionInfo& session) { status->notEnded.insert(session.session); });
    connect(sessions, &SessionList::endForgotten, status,
            [status](qint64 session) { status->notEnded.remove(session); });
    connect(state().userAcknowledge.get(), &UserAcknowledgement::answered, this,
            &AppDelegate::acknowledgementAnswered);
}

void AppDelegate::link()
{
    LogDestination().cleanUp();
    LogErrorDestination().cleanUp();
    options.appName = Bundle::required(u"CFBundleName"_s);
    readOemOptions();
    getOemName(u"oemName"_s, options.oemName);
    logHostAndUser();
    getDisconnectedIconVisisble();
    getAllowToLeaveChat();
    getShowConnectionDetail();
    getDisplaySettings();
    readConsoleUser();
    changeLanguageNeeded();
    setUI();
    getOemName(u"oemCompany"_s, options.companyName);
    cleanMainMenu();
    getPortUI();
    permissions_process();
    noteStart();
    startClient();
}

void AppDelegate::applicationDidFinishLaunching()
{
    if (!client) {
        link();
    }
    m_canHandle.count_down();
    ToolkitTranslation::install(languageCode(options.language));
    makeWindows();
    systemTray();
    makeAdditions();
    state().settingsShowTimer.start(Intervals::current().untilSettings);
    requestStatusLater();
    state().userTimer.start(Intervals::current().userUpdate);
}

void AppDelegate::readConsoleUser()
{
    const auto consoleUser = ConsoleSession::consoleUser();
    if (!consoleUser) {
        printErrorLog(u"failed to get username"_s, ToJournal::No); // as over SSH: no fault
    }
    options.username = consoleUser.value_or(QString());
    atLoginWindow = options.username == kLoginWindow;
    if (atLoginWindow) {
        note(u"at the login window"_s);
    }
}

// An agent whose own session can't be found is at the login window only as long as a greeter is in
// front.
void AppDelegate::leaveLoginWindow()
{
    Worker::run([] {
        const auto user = ConsoleSession::consoleUser();
        using ConsoleSession::Screen;
        // No user: nobody is in front, or logind has not answered in time.
        if (user ? user == kLoginWindow : ConsoleSession::screen() != Screen::NoSession) {
            return;
        }
        post([] {
            if (atLoginWindow.exchange(false)) {
                note(u"no longer at the login window"_s);
                requestStatus();
                state().connectionStatus->config();
                showLaterIfHidden();
                Q_EMIT state().events.loginWindowLeft();
            }
        });
    });
}

void AppDelegate::changeLanguageNeeded()
{
    options.language = languageFor(preferredLanguages());
}

void AppDelegate::startClient()
{
    // As early as can be: what the link reports before the reply counts as seen.
    ConsoleSession::followLock([](bool isLocked) {
        whileRunning([isLocked] { Q_EMIT state().events.screenLockChanged(isLocked); })();
    });
    const ServiceAccounts accounts(options.oem);
    for (const QString& name : accounts.unknown()) {
        printErrorLog(u"service_accounts: there is no account %1"_s.arg(name));
    }
    client = std::make_unique<Client>(
        u"localhost"_s, options.portUI, [accounts](quint32 uid) { return accounts.refusalOf(uid); },
        [this](const std::optional<QString>& message) {
            m_canHandle.wait();
            return m_checkMessage(message);
        });
    client->connection.didNoticeEnd = &RunningAgent::leave;
    Client::willEnd = &AppDelegate::withdrawNotifications;
    isStarted = true; // from here on a signal runs the whole orderly end
    client->start();
}

void AppDelegate::connectTimers()
{
    AgentState& agent = state();
    const auto once = [](QTimer& timer, std::function<void()> action) {
        timer.setSingleShot(true);
        timer.callOnTimeout(whileRunning(std::move(action)));
    };
    once(agent.connectionShowTimer, &AppDelegate::showConnection);
    once(agent.connectionNotShowTimer, &AppDelegate::closeConnectionStatus);
    once(agent.settingsShowTimer, [this] { waitingSettings(); });
    once(agent.connnectionStatusTimer, &AppDelegate::requestStatus);
    once(m_restartWait, [this] {
        if (std::exchange(m_opensSettingsAfterRestartWait, false)) {
            settings();
        }
    });
    agent.userTimer.callOnTimeout(whileRunning([] {
        if (isAtLoginWindow()) {
            leaveLoginWindow();
        }
        updateUser();
    }));
}

void AppDelegate::requestStatusLater()
{
    QTimer& timer = state().connnectionStatusTimer;
    if (!timer.isActive() && !isAtLoginWindow()) {
        timer.start(Intervals::current().untilStatusRequest);
    }
}

void AppDelegate::requestStatus()
{
    printLog(u"request status in case it is not updated."_s);
    send(Protocol::message(Protocol::kRequestConnectionsStatus));
}

void AppDelegate::updateUser()
{
    if (state().sessions.isEmpty()) {
        return;
    }
    const QString fullName = Account::fullName();
    if (fullName == kSystemAdministrator || fullName == state().userfullname) {
        return;
    }
    printLog(fullName + u" is in active Session"_s);
    send(Protocol::updateUser(fullName));
    state().userfullname = fullName; // counts as reported also where there was no link
}

void AppDelegate::quitDisplay()
{
    if (!options.restart_daemon_at_close_only) {
        send(Protocol::message(Protocol::kRequestRestart));
    }
    applicationWillTerminate();
}

void AppDelegate::applicationWillTerminate()
{
    if (terminating.exchange(true)) {
        return;
    }
    if (!isStarted) {
        endProgram(0);
    }
    printJournal(u"ends, because it was told to"_s);
    WindowActivation::stop();
    RunningAgent::leave();
    Client::prepareToStop();
    // Before the wait below. On another thread it is posted: the main loop still runs.
    if (MainQueue::isMainThread()) {
        leaveDesktop();
    } else {
        MainQueue::post(&AppDelegate::leaveDesktop);
    }
    const auto end = std::chrono::steady_clock::now() + Intervals::current().restartRequest;
    const bool asksForRestart = options.restart_daemon_at_close_only && !isAtLoginWindow();
    if (asksForRestart) {
        send(Protocol::message(Protocol::kRequestRestart));
    }
    ChildProcess::endRunning(std::chrono::seconds(1)); // a remote command
    if (asksForRestart) {
        // Time for the request to leave before the process ends.
        std::this_thread::sleep_until(end);
    }
    if (client) {
        client->stop();
    }
    endProgram(0);
}

// At the link's end, whose thread waits a moment: nothing that tells the user something may outlive
// the process.
void AppDelegate::withdrawNotifications()
{
    constexpr auto kTimeLimit = std::chrono::milliseconds(500);
    const auto left = std::make_shared<std::promise<void>>();
    MainQueue::post([left] {
        Q_EMIT state().events.ending();
        left->set_value();
    });
    left->get_future().wait_for(kTimeLimit);
}

void AppDelegate::leaveDesktop()
{
    AgentState& agent = state();
    if (!ToolkitDisplay::isGone) {
        agent.statusBarItem.reset();
        WindowActivation::hideAll();
    }
    Q_EMIT agent.events.ending();
    for (QTimer* const timer :
         {&agent.connectionShowTimer, &agent.connectionNotShowTimer, &agent.settingsShowTimer,
          &agent.connnectionStatusTimer, &agent.userTimer}) {
        timer->stop();
    }
}

std::function<void()> AppDelegate::whileRunning(std::function<void()> action)
{
    return [action = std::move(action)] {
        if (!isTerminating() && agentState) {
            action();
        }
    };
}

void AppDelegate::post(std::function<void()> action)
{
    MainQueue::post(whileRunning(std::move(action)));
}

void AppDelegate::send(const QString& command)
{
    if (client) {
        client->send(command);
    }
}

std::optional<JsonData::Info> AppDelegate::labels()
{
    return labelsOf(options.language);
}

#include "agent_core/DesktopNotices.h"
#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/Account.h"
#include "platform/accounts/ConsoleSession.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/bus/RunningAgent.h"
#include "platform/desktop/DisplayServer.h"
#include "platform/desktop/StatusItem.h"
#include "platform/desktop/ToolkitWords.h"
#include "platform/desktop/WindowActivation.h"
#include "platform/files/MainBundle.h"
#include "platform/processes/ProgramEnd.h"
#include "platform/threads/MainQueue.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "service_link/RemoteCommands.h"
#include "settings/ServiceAccounts.h"
#include "windows/AboutController.h"
#include "windows/ActivityWindow.h"
#include "windows/Bundle+extensions.h"
#include "windows/ConnectionStatus.h"
#include "windows/MessageInbox.h"
#include "windows/SecurityAccess.h"
#include "windows/SettingsWindow.h"
#include "windows/UserAcknowlegement.h"

#include <QCoreApplication>
#include <QMenu>
#include <QTimer>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

// The console user's name while nobody is logged in.
const QLatin1StringView kLoginWindow = "loginwindow"_L1;
// The full name of the system's own account, which is no person's.
const QLatin1StringView kSystemAdministrator = "System Administrator"_L1;

} // namespace

AppDelegate::AppDelegate(ClientConnection::CheckMessage checkMessage)
    : m_checkMessage(std::move(checkMessage)),
      m_connectionStatus(new ConnectionStatus(&AppDelegate::labels)),
      m_userAcknowledge(new UserAcknowledgement(&AppDelegate::labels)),
      m_aboutView(new AboutController(&AppDelegate::labels)),
      m_activityWindow(new ActivityWindow(
          &AppDelegate::labels, []() -> const ActivityList& { return state().activities; })),
      m_access(new SecurityAccess(&AppDelegate::labels))
{
    options = AgentOptions();
    state() = AgentState();
    state().connectionStatus = m_connectionStatus.get();
    state().userAcknowledge = m_userAcknowledge.get();
    state().aboutView = m_aboutView.get();
    state().activityWindow = m_activityWindow.get();
    state().access = m_access.get();
    connectWindows();
}

AppDelegate::~AppDelegate()
{
    client = nullptr;
    qDeleteAll(state().messageInbox);
    state() = AgentState();
}

// What the person does in the windows that live as long as the agent.
void AppDelegate::connectWindows()
{
    connect(m_connectionStatus.get(), &ConnectionStatus::endRequested, this,
            &AppDelegate::endSession);
    connect(m_connectionStatus.get(), &ConnectionStatus::chatRequested, this,
            &AppDelegate::requestChatOf);
    connect(m_connectionStatus.get(), &ConnectionStatus::activityRequested, this,
            &AppDelegate::showActivity);
    connect(m_activityWindow.get(), &ActivityWindow::seen, this, &AppDelegate::activitySeen);
    connect(m_userAcknowledge.get(), &UserAcknowledgement::answered, this,
            &AppDelegate::acknowledgementAnswered);
    connect(m_access.get(), &SecurityAccess::credentialsEntered, this,
            &AppDelegate::checkCredentials);
    connect(m_access.get(), &SecurityAccess::cancelled, this, [this] { m_check.reset(); });
}

void AppDelegate::applicationDidFinishLaunching()
{
    LogDestination().cleanUp();
    LogErrorDestination().cleanUp();
    readAppName();
    readOemOptions();
    getOemName(u"oemName"_s, options.oemName);
    logHostAndUser();
    getDisconnectedIconVisisble();
    getAllowToLeaveChat();
    getShowConnectionDetail();
    getDisplaySettings();
    m_connectionStatus->showConnectionDetail = options.showConnectionDetail;
    readConsoleUser();
    changeLanguageNeeded();
    setUI();
    getOemName(u"oemCompany"_s, options.companyName);
    cleanMainMenu();
    getPortUI();
    permissions_process();
    noteStart();
    startClient();
    systemTray();
    startNotices();
    startTimers();
}

void AppDelegate::startNotices()
{
    m_notices = std::make_unique<DesktopNotices>(&AppDelegate::labels, options.oemName);
    state().notices = m_notices.get();
    connect(m_notices.get(), &DesktopNotices::activated, this, [](Notifications::Place place) {
        WindowActivation::noteAction(0); // the click does not say when it was
        switch (place) {
        case Notifications::Place::Question:
            state().userAcknowledge->present();
            break;
        case Notifications::Place::Sessions:
        case Notifications::Place::Icon:
            connectionDisplay();
            break;
        case Notifications::Place::Absence:
            showActivity();
            break;
        }
    });
    connect(m_notices.get(), &DesktopNotices::missingIconTold, this, &AppDelegate::noteIconHint);
    ConsoleSession::followLock(&AppDelegate::screenLockChanged);
}

void AppDelegate::readAppName()
{
    const QVariant name = MainBundle::infoValue(u"CFBundleName"_s);
    if (name.typeId() != QMetaType::QString) {
        fatalState(u"CFBundleName is missing from %1/Info.plist"_s.arg(MainBundle::path()));
    }
    options.appName = name.toString();
}

void AppDelegate::logHostAndUser()
{
    if (const auto host = Account::hostName()) {
        printLog(*host);
        printLog(Account::loginName());
    }
}

void AppDelegate::noteStart()
{
    const QString unknown = u"unknown"_s;
    printJournal(u"version %1 (%2), process %3, user %4, port %5"_s.arg(
        Bundle::releaseVersionNumber().value_or(unknown),
        Bundle::buildVersionNumber().value_or(unknown),
        QString::number(QCoreApplication::applicationPid()), Account::loginName(),
        QString::number(options.portUI)));
}

void AppDelegate::readConsoleUser()
{
    const auto consoleUser = ConsoleSession::consoleUser();
    if (!consoleUser) {
        printErrorLog(u"failed to get username"_s);
    }
    options.username = consoleUser.value_or(QString());
}

bool AppDelegate::isAtLoginWindow()
{
    return options.username == kLoginWindow;
}

void AppDelegate::changeLanguageNeeded()
{
    options.language = languageFor(preferredLanguages());
    ToolkitWords::speak(languageCode(options.language));
}

void AppDelegate::startClient()
{
    const ServiceAccounts accounts(options.oem);
    for (const QString& name : accounts.unknown()) {
        printErrorLog(u"service_accounts: there is no account %1"_s.arg(name));
    }
    m_client = std::make_unique<Client>(
        u"localhost"_s, options.portUI, [accounts](quint32 uid) { return accounts.refusalOf(uid); },
        m_checkMessage);
    m_client->connection.didNoticeEnd = &RunningAgent::leave;
    client = m_client.get();
    isStarted = true; // from here on a signal runs the whole orderly end
    client->start();
}

void AppDelegate::startTimers()
{
    const Intervals& intervals = Intervals::current();
    state().settingsShowTimer =
        startTimer(intervals.untilSettings, Repeats::No, [this] { waitingSettings(); });
    if (!isAtLoginWindow()) {
        state().connnectionStatusTimer =
            startTimer(intervals.untilStatusRequest, Repeats::No, &AppDelegate::requestStatus);
        state().iconHintTimer =
            startTimer(intervals.untilIconHint, Repeats::No, [this] { tellMissingIcon(); });
    }
    state().userTimer = startTimer(intervals.userUpdate, Repeats::Yes, &AppDelegate::updateUser);
}

void AppDelegate::requestStatus()
{
    printLog(u"request status in case it is not updated."_s);
    send(Protocol::requestConnectionsStatus());
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
    state().userfullname = fullName; // also without a link: it is not reported twice
}

void AppDelegate::quitDisplay()
{
    if (!options.restart_daemon_at_close_only) {
        send(Protocol::requestRestart());
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
    RunningAgent::leave();
    Client::prepareToStop();
    WindowActivation::stop();
    // At once and not after the wait: from another thread the main loop goes on meanwhile.
    if (MainQueue::isMainThread()) {
        leaveDesktop();
    } else {
        MainQueue::post(&AppDelegate::leaveDesktop);
    }
    const auto end = std::chrono::steady_clock::now() + Intervals::current().restartRequest;
    const bool asksForRestart = options.restart_daemon_at_close_only && !isAtLoginWindow();
    if (asksForRestart) {
        send(Protocol::requestRestart());
    }
    RemoteCommands::endRunning();
    if (asksForRestart) {
        // Time for the request to leave before the process ends.
        std::this_thread::sleep_until(end);
    }
    if (client != nullptr) {
        client->stop();
    }
    endProgram(0);
}

QTimer* AppDelegate::startTimer(std::chrono::milliseconds interval, Repeats repeats,
                                std::function<void()> action)
{
    auto* const timer =
        new QTimer(state().connectionStatus); // the timers act on it, and go with it
    timer->setSingleShot(repeats == Repeats::No);
    QObject::connect(timer, &QTimer::timeout, timer, std::move(action));
    timer->start(interval);
    return timer;
}

void AppDelegate::leaveDesktop()
{
    if (!DisplayServer::isGone()) {
        if (state().statusBarItem != nullptr) {
            state().statusBarItem->hide();
        }
        WindowActivation::hideAll();
    }
    if (state().notices != nullptr) {
        state().notices->stop();
    }
    for (const auto& timer : {state().connectionShowTimer, state().connnectionStatusTimer,
                              state().connectionNotShowTimer, state().userTimer,
                              state().settingsShowTimer, state().iconHintTimer}) {
        delete timer.data();
    }
}

bool AppDelegate::isTerminating()
{
    return terminating;
}

void AppDelegate::send(const QString& command)
{
    if (client != nullptr) {
        client->send(command);
    }
}

std::optional<JsonData::Info> AppDelegate::labels()
{
    const std::shared_ptr<const JsonData> document = getLanguageLabel();
    return document ? std::optional(document->info(options.language)) : std::nullopt;
}

#include "agent_core/AppDelegate.h"

#include <thread>

#include <QMenu>
#include <QTimer>

#include "logging/Logs.h"
#include "platform/accounts/Account.h"
#include "platform/accounts/ConsoleSession.h"
#include "platform/accounts/PreferredLanguages.h"
#include "platform/desktop/StatusItem.h"
#include "platform/files/MainBundle.h"
#include "platform/processes/ProgramEnd.h"
#include "platform/threads/MainQueue.h"
#include "records/Intervals.h"
#include "service_link/Protocol.h"
#include "windows/AboutController.h"
#include "windows/ConnectionStatus.h"
#include "windows/SecurityAccess.h"
#include "windows/SettingsWindow.h"
#include "windows/UserAcknowlegement.h"

using namespace Qt::StringLiterals;

namespace {

// The console user's name while nobody is logged in.
const QLatin1StringView kLoginWindow = "loginwindow"_L1;
// The full name of the system's own account, which is nobody's.
const QLatin1StringView kSystemAdministrator = "System Administrator"_L1;

} // namespace

AppDelegate::AppDelegate(ClientConnection::CheckMessage checkMessage)
    : m_checkMessage(std::move(checkMessage)), m_connectionStatus(new ConnectionStatus),
      m_userAcknowledge(new UserAcknowledgement), m_aboutView(new AboutController)
{
    connectionStatus = m_connectionStatus.get();
    userAcknowledge = m_userAcknowledge.get();
    aboutView = m_aboutView.get();
}

AppDelegate::~AppDelegate()
{
    statusBarUpdate = nullptr;
    statusBarItem = nullptr;
    statusBarMenu = nullptr;
    client = nullptr;
    aboutView = nullptr;
    userAcknowledge = nullptr;
    connectionStatus = nullptr;
    access = nullptr;
}

void AppDelegate::applicationDidFinishLaunching()
{
    LogDestination().cleanUp();
    LogErrorDestination().cleanUp();
    readAppName();
    getOemName(u"oemName"_s, oemName);
    logHostAndUser();
    getDisconnectedIconVisisble();
    getAllowToLeaveChat();
    getShowConnectionDetail();
    getDisplaySettings();
    readConsoleUser();
    changeLanguageNeeded();
    setUI();
    getOemName(u"oemCompany"_s, companyName);
    cleanMainMenu();
    getPortUI();
    permissions_process();
    startClient();
    systemTray();
    startTimers();
}

void AppDelegate::readAppName()
{
    const QVariant name = MainBundle::infoValue(u"CFBundleName"_s);
    if (name.typeId() != QMetaType::QString) {
        fatalState(u"CFBundleName is missing from the application's Info.plist"_s);
    }
    appName = name.toString();
}

void AppDelegate::logHostAndUser()
{
    if (const auto host = Account::hostName()) {
        printLog(*host);
        printLog(Account::loginName());
    }
}

void AppDelegate::readConsoleUser()
{
    const auto consoleUser = ConsoleSession::consoleUser();
    if (!consoleUser) {
        printErrorLog(u"failed to get username"_s);
    }
    username = consoleUser.value_or(QString());
}

bool AppDelegate::isAtLoginWindow()
{
    return username == kLoginWindow;
}

void AppDelegate::changeLanguageNeeded()
{
    language = languageFor(preferredLanguages());
}

void AppDelegate::startClient()
{
    m_client = std::make_unique<Client>(u"localhost"_s, portUI, m_checkMessage);
    client = m_client.get();
    client->start();
    isStarted = true; // from here on an end from outside takes the whole way
}

void AppDelegate::startTimers()
{
    const Intervals& intervals = Intervals::current();
    settingsShowTimer =
        startTimer(intervals.untilSettings, Repeats::No, [this] { waitingSettings(); });
    if (!isAtLoginWindow()) {
        connnectionStatusTimer =
            startTimer(intervals.untilStatusRequest, Repeats::No, &AppDelegate::requestStatus);
    }
    userTimer = startTimer(intervals.userUpdate, Repeats::Yes, &AppDelegate::updateUser);
}

void AppDelegate::requestStatus()
{
    printLog(u"request status in case it is not updated."_s);
    send(Protocol::requestConnectionsStatus());
}

void AppDelegate::updateUser()
{
    if (sessions.isEmpty()) {
        return;
    }
    const QString fullName = Account::fullName();
    if (fullName == kSystemAdministrator || fullName == userfullname) {
        return;
    }
    printLog(fullName + u" is in active Session"_s);
    send(Protocol::updateUser(fullName));
    userfullname = fullName; // also without a link: it is not reported twice
}

void AppDelegate::quitDisplay()
{
    if (!restart_daemon_at_close_only) {
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
    // At once and not after the wait: from another thread the main loop goes on meanwhile.
    if (MainQueue::isMainThread()) {
        stopTimers();
    } else {
        MainQueue::post(&AppDelegate::stopTimers);
    }
    if (restart_daemon_at_close_only && !isAtLoginWindow()) {
        send(Protocol::requestRestart());
        // Time for the request to leave before the process ends.
        std::this_thread::sleep_for(Intervals::current().restartRequest);
    }
    if (client != nullptr) {
        client->stop();
    }
    endProgram(0);
}

QTimer* AppDelegate::startTimer(std::chrono::milliseconds interval, Repeats repeats,
                                std::function<void()> action)
{
    auto* const timer = new QTimer(connectionStatus); // lives no longer than what it acts upon
    timer->setSingleShot(repeats == Repeats::No);
    QObject::connect(timer, &QTimer::timeout, timer, std::move(action));
    timer->start(interval);
    return timer;
}

void AppDelegate::stopTimers()
{
    for (const auto& timer : {connectionShowTimer, connnectionStatusTimer, connectionNotShowTimer,
                              userTimer, settingsShowTimer}) {
        delete timer.data();
    }
}

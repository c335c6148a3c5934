#pragma once

#include "agent_state/AgentState.h"
#include "platform/files/MemoryFile.h"
#include "records/SessionInfo.h"
#include "service_link/Client.h"
#include "service_link/PayloadRecords.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <optional>

class ActivityLog;
class SettingsWindow;
struct Credentials;

// The agent itself: what it does when the service reports something, when the user does something,
// and when time has passed. Its state is in AgentState.h.
//
// There is one object, made by main(); it owns the windows' controllers, the timers and the link.
// Its operations are defined in agent_core, a source file a concern; each group below names its
// file. Whatever begins one of them by itself asks isTerminating() before: post(), the menu and the
// timers.
//
// Main thread, where nothing else is said.
class AppDelegate : public QObject {
public:
    // `checkMessage` handles what the service sends, on the link's thread. `arguments` are the
    // command line's. `kept` is what earlier runs have left. Sets the options and the state to what
    // a new process has.
    explicit AppDelegate(ClientConnection::CheckMessage checkMessage,
                         const QStringList& arguments = {}, MemoryFile kept = {});
    ~AppDelegate() override;

    static inline AgentOptions options;
    [[nodiscard]] static AgentState& state();
    // None before the start, or if a test has removed the link. Set before the link starts.
    static std::unique_ptr<Client> client;

    // --- Lifecycle.cpp ---

    // The start of the agent up to its link, in the order that its log shows. Needs no application
    // object. What the service sends is handled when the rest of the start begins: until then the
    // toolkit may change the environment.
    void link();
    // The rest, once there is the application object; all, if there is no link yet.
    void applicationDidFinishLaunching();
    // The orderly end: asks the service for a restart, gives that two seconds to leave, and ends
    // the process with status 0. At the login window it neither asks nor waits. Any thread; a
    // second call while the first is under way returns and leaves the end to the first. Also
    // before the start is complete, when it ends the process at once.
    static void applicationWillTerminate();
    // Whether the end is under way: no window comes up any more. Any thread.
    [[nodiscard]] static bool isTerminating() { return terminating; }
    // The same action, which does nothing once the end is under way.
    [[nodiscard]] static std::function<void()> whileRunning(std::function<void()> action);
    // Does something on the main thread, later, unless the end is under way by then. Any thread.
    static void post(std::function<void()> action);
    // Whether the agent runs for the login window, where nobody has logged in. Any thread.
    [[nodiscard]] static bool isAtLoginWindow() { return atLoginWindow; }
    // The Quit action. Nothing in the agent offers it to the user: quitting is the desktop's.
    static void quitDisplay();
    static void requestStatus();
    // Asks once, a while after the first of several calls.
    static void requestStatusLater();
    static void updateUser();
    static void changeLanguageNeeded();
    // Sends a command to the service; without a link it is dropped. Any thread.
    static void send(const QString& command);
    // The labels of the chosen language as the document has them now; none where it can't be
    // loaded.
    [[nodiscard]] static std::optional<JsonData::Info> labels();

    // --- BundleOptions.cpp: each takes its keys out of options.oem ---

    // Reads what the rest take, and writes to the error log what can't be used.
    static void readOemOptions();
    static void getOemName(const QString& key, QString& target);
    // The name is misspelt on purpose: it is part of the interface.
    static void getDisconnectedIconVisisble();
    static void getAllowToLeaveChat();
    static void getShowConnectionDetail();
    // Stops at the first key that is missing or not a boolean: the keys behind it are ignored.
    static void getDisplaySettings();
    static void getPortUI();
    // Reads the command line.
    static void permissions_process();

    // --- ServiceStatus.cpp: what the service reports about the gateway and the sessions ---

    // The gateway's name; none where the service has lost it.
    static void gatewayReported(const std::optional<QString>& name);
    static void accountInvalid();
    static void sessionConnected(const SessionInfo& session);
    static void sessionDisconnected(qint64 session);
    static void removeConnectionSession(qint64 session);
    static void allSessionsDisconnected();
    // None where the report did not decode; the window is shown or redrawn all the same.
    static void statusReceived(const std::optional<StatusInfo>& status);

    // --- StatusWindow.cpp: when the connection status window comes up and goes ---

    // The menu's action.
    static void connectionDisplay();
    static void showConnection();
    static void showConnectionLater(bool loop);
    static void stopShowConnectionLater();
    static void closeConnectionStatus();
    // After a change of what the window shows.
    static void redrawIfVisible();
    // The window's button: the user ends a session.
    static void endSession(qint64 session);

    // --- StatusBar.cpp ---

    void systemTray();
    // Chooses the icon and the line of the connections anew.
    static void updateSystemTrayIcon();
    // The icon's tool tip alone.
    static void updateToolTip();
    [[nodiscard]] static QString getConnectivityLabel();
    // Takes everything out of the application's own menu, so that it shows none.
    void cleanMainMenu();
    // The menu's actions that open no window of another group.
    static void permissions();
    static void about();

    // --- Consent.cpp ---

    // While the screen is locked and no other user is at the seat, accepts on the user's behalf, at
    // once. Any thread; takes as long as logind does.
    [[nodiscard]] static bool acceptIfScreenIsLocked(qint64 session, const QString& controlName);
    // The user's answer.
    static void acknowledgementAnswered(qint64 session, bool isAccepted);
    static void userAcknowledgeRequest(qint64 session, const QString& server,
                                       const QString& controlName);
    static void closeAcknowledgement();

    // --- Messages.cpp ---

    static void showMessageInbox(const Message& message);

    // --- Chats.cpp ---

    // The status window's button: the user asks for a chat.
    static void askForChat(qint64 session);
    static void requestChat(qint32 token, qint32 session);
    static void closeChat(qint32 token);
    static void receiveChat(const ChatMessage& message);
    static void chatMemberJoined(const ChatMember& member);
    static void chatMemberLeft(const ChatMember& member);
    // Ends the chats of one session, or all: nothing more can be written, the departure is shown.
    static void endChats(std::optional<qint64> session);

    // --- Enrolment.cpp: the settings window and the question for an administrator's password ---

    // Reads the window's texts; the window itself is made when somebody opens it.
    void setUI();
    // The menu's action.
    void settings();
    // Fills the window from the settings file, and locks it.
    void updateSettings();
    // Opens the window by itself where nothing is configured yet.
    void waitingSettings();
    void enableSettings();
    void disableSettings();
    // The window's actions.
    void managedCheck();
    void unlockSettings();
    void applyAction();
    void cancelAction();

    std::unique_ptr<SettingsWindow> window; // made when it is first opened

private:
    static inline std::atomic<bool> isStarted = false;
    static inline std::atomic<bool> terminating = false;
    static inline std::atomic<bool> atLoginWindow = false;

    static void readConsoleUser();
    static void leaveLoginWindow();
    static void leaveDesktop();
    static void withdrawNotifications();
    void startClient();
    void makeWindows();
    void connectTimers();
    // Additions.cpp: those who listen, as children of this object.
    void makeAdditions();
    // AgentRequests.cpp: serves calls from the user's other programs, over the session bus. Once;
    // the log outlives the main loop.
    static void serveRequests(const ActivityLog& log);

    static void setGatewayConnected(bool isConnected);
    static void showLaterIfHidden();
    static void showAtSessionEnd();

    SettingsWindow& settingsWindow();
    void prepareSettingsWindow();
    void finishApply();
    void checkCredentials(const QString& username, const QString& password);
    void finishCheck(const Credentials& check, bool isRight);

    const ClientConnection::CheckMessage m_checkMessage;
    std::latch m_canHandle{1};            // what the service sends; see link()
    MemoryFile m_kept;                    // until the list of what happened takes it
    std::shared_ptr<Credentials> m_check; // the credentials that are being checked
    QTimer m_restartWait;                 // after new settings
    bool m_opensSettingsAfterRestartWait = false;
    QPointer<QMenu> MainMenu; // the application's own menu; this desktop's have none
};

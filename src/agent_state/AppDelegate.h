#pragma once

#include "agent_state/AgentState.h"
#include "service_link/Client.h"
#include "service_link/PayloadRecords.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class SettingsWindow;
struct CredentialCheck;

// The agent itself: what it does when the service reports something, when the person does
// something, and when time has passed. Its state is in AgentState.h.
//
// There is one object, made by main() after the application object; it owns the windows'
// controllers, the timers and the link. Its operations are defined in agent_core, a source file a
// concern; each group below names its file.
//
// Main thread, where nothing else is said.
class AppDelegate : public QObject {
public:
    // `checkMessage` handles what the service sends, on the link's queue. Sets the options and the
    // state to what a new process has.
    explicit AppDelegate(ClientConnection::CheckMessage checkMessage);
    ~AppDelegate() override;

    static inline AgentOptions options;
    [[nodiscard]] static AgentState& state();
    // Null before the start and where a test takes the link away. Set before the link starts.
    static inline Client* client = nullptr;

    // --- Lifecycle.cpp ---

    // The start of the agent, in the order that its log shows.
    void applicationDidFinishLaunching();
    // The orderly end: asks the service for a restart, gives that two seconds to leave, and ends
    // the process with status 0. At the login window it neither asks nor waits. Any thread; a
    // second call while the first is under way returns and leaves the end to the first. Also
    // before the start is complete, when it ends the process at once.
    static void applicationWillTerminate();
    // Whether the end is under way: no window comes up any more. Any thread.
    [[nodiscard]] static bool isTerminating();
    // Whether nobody is logged in at the machine's screen. Any thread.
    [[nodiscard]] static bool isAtLoginWindow();
    // The Quit action. Nothing in the agent offers it to the person: quitting is the desktop's.
    static void quitDisplay();
    static void requestStatus();
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
    // Stops at the first key that is missing or no boolean: later keys count only with the earlier.
    static void getDisplaySettings();
    static void getPortUI();

    // --- SessionChanges.cpp: the agent's list of sessions and the status window's, in step ---

    // A number that is listed already is not added again.
    static void addSession(const SessionInfo& session);
    static void removeConnectionSession(qint64 session);
    static void replaceSessions(const QList<SessionInfo>& sessions);

    // --- StatusReports.cpp: what the service reports about the gateway and the sessions ---

    static void gatewayConnected(const QString& name);
    static void gatewayDisconnected();
    static void accountInvalid();
    static void sessionConnected(const SessionInfo& session);
    static void sessionDisconnected(qint64 session);
    static void allSessionsDisconnected();
    // Whether the agent is managed centrally, as the settings file says.
    static void setManaged(bool isManaged);
    // None where the report did not decode; the window is shown or redrawn all the same.
    static void statusReceived(const std::optional<StatusInfo>& status);

    // --- ActivityReports.cpp: what happened, for the list and for the desktop's notifications ---

    static void noteSessionBegan(const SessionInfo& session);
    static void noteSessionEnded(const SessionInfo& session);
    // A request was accepted because the screen is locked.
    static void noteAccepted(const QString& controlName);
    // The service has reported the end of a session that the person had ended.
    static void forgetEnded(qint64 session);
    // Numbers tell the commands of this run apart.
    static void commandBegan(quint64 command, const QString& text);
    static void commandEnded(quint64 command, qint64 status);
    static void screenLockChanged(bool isLocked);
    static void showActivity();

    // --- StatusWindow.cpp: when the connection status window comes up and goes ---

    // The menu's action.
    static void connectionDisplay();
    static void showConnection();
    static void showConnectionLater(bool loop);
    static void stopShowConnectionLater();
    static void closeConnectionStatus();
    // The window's buttons: the person ends a session, or asks its operator for a chat.
    static void endSession(qint64 session);
    static void requestChatOf(qint64 session);

    // --- StatusBar.cpp ---

    void systemTray();
    // Chooses the icon and the line of the connections anew.
    static void updateSystemTrayIcon();
    // The icon's tool tip alone.
    static void updateToolTip();
    [[nodiscard]] static QString getConnectivityLabel();
    // Takes everything out of the application's own menu, so that it shows none.
    void cleanMainMenu();
    // Reads the command line.
    static void permissions_process();

    // --- IconHint.cpp: what the person is told, once, on a desktop without a place for the icon
    // ---

    void tellMissingIcon();
    // It was told: not again in a later run.
    static void noteIconHint();

    // --- MenuActions.cpp: those that open no window of another group ---

    static void permissions();
    static void about();

    // --- Requests.cpp: what other programs of the person's ask of the agent ---

    // From now on, as long as `agent` lives.
    static void answerRequests();

    // --- Consent.cpp ---

    // While the screen is locked, accepts on the person's behalf, at once. Any thread; takes as
    // long as logind does.
    [[nodiscard]] static bool acceptIfScreenIsLocked(qint64 session, const QString& controlName);
    // The person's answer.
    static void acknowledgementAnswered(qint64 session, bool isAccepted);
    static void userAcknowledgeRequest(qint64 session, const QString& server,
                                       const QString& controlName);
    static void closeAcknowledgement();

    // --- Messages.cpp ---

    static void showMessageInbox(const Message& message);

    // --- Chats.cpp ---

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

    enum class Repeats { No, Yes };
    // A timer that dies with the delegate.
    static QTimer* startTimer(std::chrono::milliseconds interval, Repeats repeats,
                              std::function<void()> action);
    static void leaveDesktop();
    static void readAppName();
    static void logHostAndUser();
    static void readConsoleUser();
    static void noteStart();
    void startClient();
    void startTimers();
    void connectWindows();

    static void setGatewayConnected(bool isConnected);
    static void redrawIfVisible();
    static void showLaterIfHidden();
    static void showAtSessionEnd();
    static void noteActivity(Activity::Kind kind, const QString& text, quint64 command = 0);
    static void activitySeen();
    static void tellAbsence();
    static void showUnseenActivity();
    void startNotices();

    SettingsWindow& settingsWindow();
    void prepareSettingsWindow();
    void closeSettings();
    void finishApply();
    void checkCredentials(const QString& username, const QString& password);
    void finishCheck(const CredentialCheck& check, bool isRight);

    const ClientConnection::CheckMessage m_checkMessage;
    std::unique_ptr<Client> m_client;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<ConnectionStatus> m_connectionStatus;
    std::unique_ptr<UserAcknowledgement> m_userAcknowledge;
    std::unique_ptr<AboutController> m_aboutView;
    std::unique_ptr<ActivityWindow> m_activityWindow;
    std::unique_ptr<DesktopNotices> m_notices;
    std::unique_ptr<SecurityAccess> m_access;
    const std::shared_ptr<void> m_self = std::make_shared<char>(); // ends with this object
    std::shared_ptr<CredentialCheck> m_check;                      // whose result is waited for
    QPointer<QTimer> m_restartWait;                                // after new settings
    bool m_opensSettingsAfterRestartWait = false;
    QPointer<QMenu> MainMenu; // the application's own menu; this desktop's have none
};

#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include "localisation/Translate.h"
#include "records/SettingsTexts.h"
#include "service_link/Client.h"
#include "service_link/PayloadRecords.h"

using namespace Qt::StringLiterals;

class AboutController;
class ChatController;
class ConnectionStatus;
class MessageInbox;
class QAction;
class QMenu;
class QTimer;
class SecurityAccess;
class SettingsWindow;
class StatusItem;
class UserAcknowledgement;

// The agent itself: its whole state, and what it does when something happens.
//
// There is one object, made by main() after the application object; it owns the controllers, the
// timers and the link, and the type-wide pointers point at them. The state can be read in full at
// the end of this page. Its operations stand in one source file a concern: Lifecycle, StatusBar,
// EventPresentation, Conversations, ChatEvents, SettingsWindow, and below the windows SessionList,
// ServiceLink and BundleOptions.
//
// Main thread, where nothing else is said.
class AppDelegate : public QObject { // no Q_OBJECT: the state is linked without the windows
public:
    // `checkMessage` handles what the service sends, on the link's queue.
    explicit AppDelegate(ClientConnection::CheckMessage checkMessage);
    ~AppDelegate() override;

    // --- Lifecycle ---

    // The start of the agent, in the order that its log shows.
    void applicationDidFinishLaunching();

    // The orderly end: asks the service for a restart, gives that two seconds to leave, and ends
    // the process with status 0. At the login window it neither asks nor waits. Any thread; a
    // second call while the first is under way returns and leaves the end to the first. Also
    // before the start is complete, when it ends the process at once.
    static void applicationWillTerminate();

    // Whether nobody is logged in at the machine's screen. Any thread.
    [[nodiscard]] static bool isAtLoginWindow();

    // Whether the end is under way: no window comes up any more. Any thread.
    [[nodiscard]] static bool isTerminating();

    // The Quit action. Nothing in the agent offers it to the person: quitting is the desktop's.
    static void quitDisplay();

    static void requestStatus();
    static void updateUser();
    static void changeLanguageNeeded();

    // Sends a command to the service; without a link it is dropped. Any thread.
    static void send(const QString& command);

    // --- The session list ---

    // Removes the first session with that number, if there is one.
    static void removeConnectionSession(qint64 session);

    // Both lists of sessions, ours and the status window's, stay in step, so that a name in the
    // window is always that of the session which its buttons and clock mean: these change both. A
    // number that is listed already is not added again.
    static void addSession(const SessionInfo& session);
    static void endSession(qint64 session);
    static void replaceSessions(const QList<SessionInfo>& sessions);

    // --- Bundle options: each reads its keys of the bundle's "oem" property list ---

    static void getOemName(const QString& key, QString& target);
    // The name is misspelt for good: it is part of the interface.
    static void getDisconnectedIconVisisble();
    static void getAllowToLeaveChat();
    static void getShowConnectionDetail();
    // Stops at the first key that is missing or no boolean: later keys count only with the earlier.
    static void getDisplaySettings();
    static void getPortUI();

    // --- Status bar ---

    void systemTray();
    // Chooses the icon and the line of the connections anew, later on the main thread. Any thread.
    static void updateSystemTrayIcon();
    [[nodiscard]] static QString getConnectivityLabel();
    // Takes everything out of the application's own menu, so that it shows none.
    void cleanMainMenu();
    // Reads the command line.
    static void permissions_process();
    // The menu's actions.
    void settings();
    static void permissions();
    static void connectionDisplay();
    static void about();

    // --- Presentation of what the service reports; all may be called from any thread ---

    // While the screen is locked, accepts on the person's behalf, at once on the calling thread.
    static void userAcknowledgeRequest(qint64 session, const QString& server,
                                       const QString& controlName);
    static void closeAcknowledgement();
    static void showMessageInbox(const QString& sender, const QString& text, qint64 timeout,
                                 qint64 icon);
    static void requestChat(qint32 token, qint32 session);
    static void closeChat(qint32 token);

    // --- The connection status window, as the service's reports move it ---

    static void showConnection();
    static void showConnectionLater(bool loop);
    static void stopShowConnectionLater();
    static void closeConnectionStatus();
    // Shows the window that a session's end brings up, whatever the settings say about showing.
    static void showConnectionAtSessionEnd();
    static void setGateway(bool isConnected, const QString& name);
    static void setAccountIsValid(bool isValid);
    // Redraws the window: always, or only while it is visible.
    static void configConnectionStatus();
    static void refreshConnectionStatus();
    static void showHiddenConnectionLater();
    // Redraws the visible window, or lets a hidden one come up later.
    static void refreshOrShowConnectionLater();

    // --- Chats, for those who know only a token or a session ---

    // Ends the chats of one session, or all: nothing more can be written, the departure is shown.
    static void endChats(std::optional<qint64> session);
    static void wakeChats(qint64 token);
    static void receiveChat(const ChatMessage& message);
    static void chatMemberJoined(const ChatMember& member);
    static void chatMemberLeft(const ChatMember& member);

    // --- Settings window ---

    // Reads the window's texts; the window itself is made when somebody opens it.
    void setUI();
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

    SettingsTexts settingsTexts;
    std::unique_ptr<SettingsWindow> window; // made when it is first opened

    // ===== State that is set before the link starts and read anywhere afterwards =====

    static inline bool disconnectedIconVisible = true;
    static inline QString oemName = u"KRD"_s;
    static inline QString companyName = u"Halvern"_s;
    static inline QString appName;
    static inline QString username; // the console user's; read once
    static inline quint16 portUI = 62188;
    static inline bool displayPlatform = true;
    static inline bool displayAgentType = true;
    static inline bool displayChange = true;
    // The restart request goes out at termination (true) or from the Quit action (false). Nothing
    // clears it after permissions_process(), which sets it at every start.
    static inline bool restart_daemon_at_close_only = true;
    static inline bool allowToLeaveChat = false;
    static inline bool showConnectionDetail = false;
    static inline Language language = Language::English;
    static inline Client* client = nullptr;

    // ===== State of the main thread =====

    static inline bool isManaged = true; // changes only when the settings file is read
    static inline QString user;          // an administrator whose password was checked
    static inline QString pwd;
    static inline QString userfullname; // the last one that was reported
    static inline bool gatewayConnectionStatus = false;
    static inline QList<SessionInfo> sessions;

    static inline ConnectionStatus* connectionStatus = nullptr;
    static inline AboutController* aboutView = nullptr;
    static inline UserAcknowledgement* userAcknowledge = nullptr;
    static inline SecurityAccess* access = nullptr;
    static inline QList<MessageInbox*> messageInbox;
    static inline QList<ChatController*> chats;

    static inline StatusItem* statusBarItem = nullptr;
    static inline QMenu* statusBarMenu = nullptr;

    static inline QPointer<QTimer> connectionShowTimer;
    static inline QPointer<QTimer> connectionNotShowTimer;
    static inline QPointer<QTimer> settingsShowTimer;
    // Three n: the name is part of the interface.
    static inline QPointer<QTimer> connnectionStatusTimer;
    static inline QPointer<QTimer> userTimer;

private:
    // Set by the status bar once it is there; so windows can ask for its update without linking it.
    static inline std::function<void()> statusBarUpdate;
    static inline std::atomic<bool> isStarted = false;
    static inline std::atomic<bool> terminating = false;

    enum class Repeats { No, Yes };
    // A timer that dies with the delegate.
    static QTimer* startTimer(std::chrono::milliseconds interval, Repeats repeats,
                              std::function<void()> action);
    static void stopTimers();
    static void showStatusInStatusBar();
    static void presentAcknowledgement(qint64 session, const QString& server,
                                       const QString& controlName);
    static void readAppName();
    static void logHostAndUser();
    static void readConsoleUser();
    void startClient();
    void startTimers();

    SettingsWindow& settingsWindow();
    void prepareSettingsWindow();
    void closeSettings();
    void finishApply();

    const ClientConnection::CheckMessage m_checkMessage;
    std::unique_ptr<Client> m_client;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<ConnectionStatus> m_connectionStatus;
    std::unique_ptr<UserAcknowledgement> m_userAcknowledge;
    std::unique_ptr<AboutController> m_aboutView;
    std::unique_ptr<SecurityAccess> m_access;
    QPointer<QTimer> m_restartWait; // after new settings
    bool m_opensSettingsAfterRestartWait = false;
    QPointer<QMenu> MainMenu; // the application's own menu; this desktop's have none
};

#pragma once

#include "agent_state/SessionList.h"
#include "localisation/Translate.h"
#include "records/Activity.h"
#include "records/SettingsTexts.h"
#include "settings/OemOptions.h"
#include "settings/ServicePort.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>

class AboutController;
class ChatController;
class ConnectionStatus;
class MessageInbox;
class QMenu;
class SecurityAccess;
class StatusItem;
class UserAcknowledgement;

// The whole state of the process, in two groups. AppDelegate holds one of each.

// Set before the link starts; any thread reads it afterwards.
struct AgentOptions {
    QStringList arguments; // the command line's, without the program's name
    OemOptions oem;        // the option files; most fields below are read from them
    bool disconnectedIconVisible = true;
    QString oemName = QString::fromLatin1("KRD");
    QString companyName = QString::fromLatin1("Halvern");
    QString appName;
    QString username; // the console user's at the start
    quint16 portUI = kUsualServicePort;
    bool displayPlatform = true;
    bool displayAgentType = true;
    bool displayChange = true;
    // The restart request goes out at termination (true) or from the Quit action (false). Nothing
    // clears it after permissions_process(), which sets it at every start.
    bool restart_daemon_at_close_only = true;
    bool allowToLeaveChat = false;
    bool showConnectionDetail = false;
    Language language = Language::English;
};

// What happens, for those who listen, besides the signals of the session list and of the windows.
class AgentEvents : public QObject {
    Q_OBJECT

Q_SIGNALS:
    // A request for control was accepted or declined, or waits behind a locked screen.
    void requestNoted(qint64 session, const QString& controlName, Activity::Kind kind,
                      Activity::By by);
    // Its window lives until it is closed.
    void messageShown(const QObject* window, const QString& from, const QString& text);
    // A remote command runs, or has ended. The link handles no other meanwhile.
    void commandBegan(qint64 session, const QString& text);
    void commandEnded(qint64 status);
    void screenLockChanged(bool isLocked);
    void loginWindowLeft();
    // The program is ending: nobody is told anything any more.
    void ending();
};

// Main thread. Lives as long as the one AppDelegate object, which makes and deletes it.
struct AgentState {
    ~AgentState();

    bool isManaged = true; // changes only when the settings file is read
    QString user;          // an administrator whose password was checked
    QString pwd;
    QString userfullname; // the last one that was reported
    bool gatewayConnectionStatus = false;
    SessionList sessions;
    AgentEvents events;
    SettingsTexts settingsTexts;

    std::unique_ptr<ConnectionStatus> connectionStatus;
    std::unique_ptr<AboutController> aboutView;
    std::unique_ptr<UserAcknowledgement> userAcknowledge;
    std::unique_ptr<SecurityAccess> access;
    QList<MessageInbox*> messageInbox; // the oldest first
    qint64 messagesNotShown = 0;       // closed for later ones, and not yet told to the user
    QList<ChatController*> chats;
    QHash<qint64, QDeadlineTimer> awaitedChats; // by session: until when the user waits for one

    std::unique_ptr<QMenu> statusBarMenu;
    std::unique_ptr<StatusItem> statusBarItem;
    // What the icon shows; the panel is told only of changes.
    QString statusBarIcon;
    QString statusBarToolTip;

    QTimer connectionShowTimer;
    QTimer connectionNotShowTimer;
    QTimer settingsShowTimer;
    // Three n: the name is part of the interface.
    QTimer connnectionStatusTimer;
    QTimer userTimer;
};

#pragma once

#include "localisation/Translate.h"
#include "records/Activity.h"
#include "records/SessionInfo.h"
#include "records/SettingsTexts.h"
#include "settings/OemOptions.h"
#include "settings/ServicePort.h"

#include <QList>
#include <QPointer>
#include <QSet>
#include <QString>

#include <optional>

class AboutController;
class ActivityWindow;
class ChatController;
class ConnectionStatus;
class DesktopNotices;
class MessageInbox;
class QAction;
class QMenu;
class QTimer;
class SecurityAccess;
class StatusItem;
class UserAcknowledgement;

// The whole state of the process, in two groups. AppDelegate holds one of each.

// Set before the link starts; any thread reads it afterwards.
struct AgentOptions {
    OemOptions oem; // what those of the others that it has are taken from
    bool disconnectedIconVisible = true;
    QString oemName = QString::fromLatin1("KRD");
    QString companyName = QString::fromLatin1("Halvern");
    QString appName;
    QString username; // the console user's; read once
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

// The sessions that are open. Everybody may look; only SessionChanges (in agent_core) changes the
// list, and the status window's with it.
class SessionList {
public:
    [[nodiscard]] const QList<SessionInfo>& all() const { return m_sessions; }
    [[nodiscard]] bool isEmpty() const { return m_sessions.isEmpty(); }

private:
    friend class SessionChanges;
    QList<SessionInfo> m_sessions;
};

// What the status bar shows; the panel is told only of changes.
struct StatusBarLook {
    QString icon;
    QString toolTip;
    QString connection; // the menu's line
    QString symbol;
};

// Main thread. The pointers own nothing: the one AppDelegate object does.
struct AgentState {
    bool isManaged = true; // changes only when the settings file is read
    QString user;          // an administrator whose password was checked
    QString pwd;
    QString userfullname; // the last one that was reported
    bool gatewayConnectionStatus = false;
    SessionList sessions;
    QSet<qint64> endedByPerson; // sessions whose end the service has not reported yet
    bool isScreenLocked = false;
    bool hasUntoldAbsence = false; // something happened that no unlocking has told yet
    ActivityList activities;
    SettingsTexts settingsTexts;

    ConnectionStatus* connectionStatus = nullptr;
    AboutController* aboutView = nullptr;
    ActivityWindow* activityWindow = nullptr;
    DesktopNotices* notices = nullptr; // from the start of the agent on
    UserAcknowledgement* userAcknowledge = nullptr;
    SecurityAccess* access = nullptr;
    QList<MessageInbox*> messageInbox; // the oldest first
    qint64 messagesNotShown = 0;       // closed for later ones, and not yet told to the person
    QList<ChatController*> chats;

    StatusItem* statusBarItem = nullptr;
    QMenu* statusBarMenu = nullptr;
    QAction* awayItem = nullptr; // of the menu
    StatusBarLook statusBarLook;

    QPointer<QTimer> connectionShowTimer;
    QPointer<QTimer> connectionNotShowTimer;
    QPointer<QTimer> settingsShowTimer;
    QPointer<QTimer> iconHintTimer;
    // Three n: the name is part of the interface.
    QPointer<QTimer> connnectionStatusTimer;
    QPointer<QTimer> userTimer;
};

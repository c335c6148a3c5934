#pragma once

#include "AgentFixture.h"
#include "agent_state/AgentState.h"
#include "agent_state/AppDelegate.h"
#include "chat/ChatController.h"
#include "dispatch/MessageDispatch.h"
#include "windows/AboutController.h"
#include "windows/ActivityWindow.h"
#include "windows/ConnectionStatus.h"
#include "windows/MessageInbox.h"
#include "windows/SecurityAccess.h"
#include "windows/SettingsWindow.h"
#include "windows/UserAcknowlegement.h"

#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QTest>

#include <functional>

using Qt::StringLiterals::operator""_s;

inline const QString kName = u"Maximilian von Hohenstein-Wartenberg"_s;
inline const QString kShortName = u"Ann Carter"_s;

using Use = std::function<void(const QString& name, QWidget& window)>;

// Every window of the agent, filled with what makes it largest; each is handed over while it is
// shown.
class Album {
public:
    Album(Language language, const Use& use) : m_language(language), m_use(use)
    {
        status();
        question();
        messages();
        chat();
        settings();
        activity();
        about();
        menu();
    }

private:
    void status() const
    {
        ConnectionStatus status(source());
        status.gatewayConnectionStatus = true;
        status.present();
        show(u"status"_s, "ConnectionStatus");
        status.gatewayConnectionStatus = false;
        for (const bool isValid : {false, true}) {
            status.accountIsValid = isValid;
            status.config();
            show(isValid ? u"status-no-gateway"_s : u"status-account"_s, "ConnectionStatus");
        }
        status.hasUnseenActivity = true;
        status.setConnection({1, u"desk"_s, kShortName, sessionDateNow() - 65});
        status.config();
        status.inSession();
        show(u"status-one"_s, "ConnectionStatus");
        status.setConnection({2, u"desk"_s, kName, sessionDateNow() - 400'000});
        status.notEnded = {2};
        status.config();
        status.inSession2();
        show(u"status-two"_s, "ConnectionStatus");
    }

    void question() const
    {
        UserAcknowledgement question(source());
        question.ask(1, u"gateway.halvern.example"_s, kShortName);
        show(u"question"_s, "UserAcknowlegement");
        question.ask(2, u"gateway-with-a-long-name.support.europe-west.halvern.example"_s,
                     kName + u' ' + kName);
        show(u"question-replaced"_s, "UserAcknowlegement");
    }

    void messages() const
    {
        for (const qint64 kind : {0, 1, 2, 3, 4}) {
            MessageInbox message(source());
            message.set(kind % 2 == 0 ? kName + u", "_s + kName : kShortName,
                        u"The computer restarts at 18:00. Please save your work.\n"_s
                        u"Until then everything can be used as before."_s,
                        kind == 0 ? 0 : 3600, kind);
            message.setNotShown(kind == 4 ? 12 : 0);
            message.present({});
            show(u"message-%1"_s.arg(kind), "MessageInbox");
        }
    }

    void chat() const
    {
        ChatController chat(source(), false);
        chat.set(1, 1, kName);
        chat.presentBeside({});
        chat.joinedMember(kShortName);
        chat.receiveChat(kName, u"Good morning. May I have a look at the printer?"_s);
        chat.displayMessage(kShortName, u"Yes, please."_s, false, ChatColour::Text);
        show(u"chat"_s, "ChatController");
        chat.end();
        show(u"chat-left"_s, "ChatController");
    }

    void settings() const
    {
        SettingsWindow settings(SettingsTexts::from(*source()()));
        const QString account = u"5d3ac8a4-7a34-4f0f-9d3c-6b0e4b7f9a11"_s;
        for (const bool isManaged : {true, false}) {
            const QString mode = isManaged ? u"-managed"_s : u"-code"_s;
            settings.showSettings({isManaged, u"123456"_s, account, {}});
            settings.setLocked(true);
            settings.showLock(isManaged);
            settings.present();
            show(u"settings-locked"_s + mode, "window");
            settings.showLock(true);
            settings.setLocked(false);
            settings.followMode();
            show(u"settings-unlocked"_s + mode, "window");
        }
        settings.complain(SettingsTexts::from(*source()()).accountIdErrorTitle,
                          SettingsTexts::from(*source()()).accountIdErrorMsg);
        show(u"complaint"_s, settings.findChild<QMessageBox*>());
        delete settings.findChild<QMessageBox*>();

        SecurityAccess access(source());
        access.refresh();
        access.present(&settings);
        show(u"credentials"_s, "windowInfo");
        AgentFixture::topLevel("windowInfo")
            ->findChild<QLineEdit*>(u"username"_s)
            ->setText(u"administrator"_s);
        access.check();
        show(u"credentials-checking"_s, "windowInfo");
        access.finishCheck(false);
        show(u"credentials-wrong"_s, "windowInfo");
    }

    void activity() const
    {
        ActivityList list;
        for (const auto kind : {Activity::Kind::SessionBegan, Activity::Kind::SessionEnded,
                                Activity::Kind::SessionNotEnded, Activity::Kind::RequestAccepted}) {
            list.add({kind, QDateTime::currentDateTime().addDays(-1), kName});
        }
        list.add({Activity::Kind::Command, QDateTime::currentDateTime(),
                  u"/usr/bin/systemctl restart cups.service && journalctl --unit cups"_s, 1});
        list.add({Activity::Kind::Command, QDateTime::currentDateTime(), u"true"_s, 2, 0, true});
        ActivityWindow activity(source(), [&list]() -> const ActivityList& { return list; });
        activity.present();
        show(u"what-happened"_s, "ActivityWindow");
    }

    void about() const
    {
        AboutController about(source());
        about.present();
        show(u"about"_s, "AboutController");
    }

    // As the icon's own; a panel draws it in its way.
    void menu() const
    {
        AppDelegate delegate(&MessageDispatch::checkMessage);
        AppDelegate::options.language = m_language;
        AppDelegate::options.oemName = u"vantory"_s;
        delegate.systemTray();
        AppDelegate::state().sessions.add({1, u"desk"_s, kName, {}});
        AppDelegate::updateSystemTrayIcon();
        AppDelegate::state().statusBarMenu->actions().constLast()->setVisible(true);
        AppDelegate::state().statusBarMenu->popup({});
        show(u"menu"_s, AppDelegate::state().statusBarMenu.get());
        AppDelegate::state().statusBarMenu->hide();
    }

    [[nodiscard]] LabelSource source() const
    {
        return [language = m_language] { return getLanguageLabel()->info(language); };
    }

    void show(const QString& name, const char* window) const
    {
        show(name, AgentFixture::topLevel(window));
    }

    void show(const QString& name, QWidget* window) const
    {
        QVERIFY2(window != nullptr, qPrintable(name));
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTest::qWait(1); // what is laid out later
        m_use(name, *window);
    }

    const Language m_language;
    const Use& m_use;
};

#include "agent_core/AppDelegate.h"

#include "logging/Logs.h"
#include "platform/threads/MainQueue.h"
#include "windows/AboutController.h"
#include "windows/ConnectionStatus.h"
#include "windows/MessageInbox.h"
#include "windows/UserAcknowlegement.h"

using namespace Qt::StringLiterals;

void AppDelegate::presentAcknowledgement(qint64 session, const QString& server,
                                         const QString& controlName)
{
    MainQueue::post([session, server, controlName] {
        if (isTerminating()) {
            return;
        }
        printLog(u"User Ack Request. session: "_s + QString::number(session) + u" for server: "_s +
                 server + u" with user: "_s + controlName);
        userAcknowledge->present();
        userAcknowledge->session = session;
        userAcknowledge->serverName = server;
        userAcknowledge->controlUserName = controlName;
        // Also without labels: the names of another request must not stay.
        userAcknowledge->showNames();
        if (const auto labels = getLanguageLabel()) {
            userAcknowledge->translate(labels->info(language));
        }
    });
}

void AppDelegate::closeAcknowledgement()
{
    if (!MainQueue::isMainThread()) {
        MainQueue::post(&AppDelegate::closeAcknowledgement);
        return;
    }
    // At once: posted again, it would take away a request that came right behind.
    userAcknowledge->hide();
}

void AppDelegate::showMessageInbox(const QString& sender, const QString& text, qint64 timeout,
                                   qint64 icon)
{
    MainQueue::post([sender, text, timeout, icon] {
        if (isTerminating()) {
            return;
        }
        // The delegate's, by way of what the delegate owns, as its timers are.
        auto* const message = new MessageInbox(connectionStatus);
        messageInbox.append(message);
        message->set(sender, text, timeout, icon);
        message->present();
        userAcknowledge->stayInFront(); // a question is never hidden by a message
    });
}

void AppDelegate::about()
{
    if (isTerminating()) {
        return;
    }
    aboutView->present();
    if (const auto labels = getLanguageLabel()) {
        aboutView->translate(labels->info(language));
    }
}

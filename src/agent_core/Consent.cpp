#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/ConsoleSession.h"
#include "service_link/Protocol.h"
#include "windows/UserAcknowlegement.h"

using namespace Qt::StringLiterals;

bool AppDelegate::acceptIfScreenIsLocked(qint64 session)
{
    const bool isLocked = ConsoleSession::isScreenLocked();
    if (isLocked) {
        send(Protocol::acceptConnection(session));
    }
    return isLocked;
}

void AppDelegate::userAcknowledgeRequest(qint64 session, const QString& server,
                                         const QString& controlName)
{
    if (isTerminating()) {
        return;
    }
    printLog(u"User Ack Request. session: "_s + QString::number(session) + u" for server: "_s +
             server + u" with user: "_s + controlName);
    state().userAcknowledge->ask(session, server, controlName);
}

void AppDelegate::closeAcknowledgement()
{
    state().userAcknowledge->hide();
}

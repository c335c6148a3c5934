#include "agent_core/DesktopNotices.h"
#include "agent_core/Names.h"
#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/ConsoleSession.h"
#include "platform/threads/MainQueue.h"
#include "service_link/Protocol.h"
#include "windows/UserAcknowlegement.h"

using namespace Qt::StringLiterals;

bool AppDelegate::acceptIfScreenIsLocked(qint64 session, const QString& controlName)
{
    const bool isLocked = ConsoleSession::screen() == ConsoleSession::Screen::Locked;
    if (isLocked) {
        send(Protocol::acceptConnection(session));
        MainQueue::post(
            [session, controlName] { noteAccepted(Names::inSession(controlName, session)); });
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
    UserAcknowledgement& dialog = *state().userAcknowledge;
    dialog.ask(session, Names::inSession(server, session), Names::inSession(controlName, session));
    if (state().notices != nullptr) {
        state().notices->askQuestion(dialog.question(), dialog.replacesAnother);
    }
}

void AppDelegate::acknowledgementAnswered(qint64 session, bool isAccepted)
{
    send(isAccepted ? Protocol::acceptConnection(session) : Protocol::declineConnection(session));
    if (state().notices != nullptr) {
        state().notices->withdrawQuestion();
    }
}

void AppDelegate::closeAcknowledgement()
{
    const bool isWithdrawn = state().userAcknowledge->isVisible();
    state().userAcknowledge->hide();
    if (isWithdrawn && state().notices != nullptr) {
        state().notices->tellWithdrawal();
    }
}

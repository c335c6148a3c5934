#include "agent_core/Names.h"
#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/ConsoleSession.h"
#include "service_link/Protocol.h"
#include "windows/UserAcknowlegement.h"

using namespace Qt::StringLiterals;

bool AppDelegate::acceptIfScreenIsLocked(qint64 session, const QString& controlName)
{
    using ConsoleSession::Screen;
    using Kind = Activity::Kind;
    const Screen screen = ConsoleSession::screen();
    // At the end nobody would note who was let in.
    const bool isAccepted = screen == Screen::Locked && !isTerminating();
    if (isAccepted) {
        send(Protocol::message(Protocol::kAcceptConnection, session));
    }
    if (isAccepted || screen == Screen::LockedBehindAnother) {
        post([=, kind = isAccepted ? Kind::RequestAccepted : Kind::RequestWaits] {
            Q_EMIT state().events.requestNoted(session, Names::inSession(controlName, session),
                                               kind, Activity::By::LockedScreen);
        });
    }
    return isAccepted;
}

void AppDelegate::userAcknowledgeRequest(qint64 session, const QString& server,
                                         const QString& controlName)
{
    printLog(u"User Ack Request. session: "_s + QString::number(session) + u" for server: "_s +
             server + u" with user: "_s + controlName);
    state().userAcknowledge->ask(session, Names::inSession(server, session),
                                 Names::inSession(controlName, session));
}

void AppDelegate::acknowledgementAnswered(qint64 session, bool isAccepted)
{
    send(isAccepted ? Protocol::message(Protocol::kAcceptConnection, session)
                    : Protocol::message(Protocol::kDeclineConnection, session));
    Q_EMIT state().events.requestNoted(session, state().userAcknowledge->controlUserName,
                                       isAccepted ? Activity::Kind::RequestAccepted
                                                  : Activity::Kind::RequestDeclined,
                                       Activity::By::User);
}

void AppDelegate::closeAcknowledgement()
{
    state().userAcknowledge->withdraw();
}

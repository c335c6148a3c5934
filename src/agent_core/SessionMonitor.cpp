#include "agent_core/SessionMonitor.h"

#include "agent_state/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/Account.h"
#include "service_link/Protocol.h"

using namespace Qt::StringLiterals;

void ActiveSessionMonitor::isInActiveSession() const
{
    const QString user = Account::loginName();
    printLog(user + u" is in active Session"_s);
    AppDelegate::send(Protocol::updateUser(user));
}

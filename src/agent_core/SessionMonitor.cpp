#include "agent_core/SessionMonitor.h"

#include "agent_core/AppDelegate.h"
#include "logging/Logs.h"
#include "platform/accounts/Account.h"
#include "service_link/Protocol.h"

void ActiveSessionMonitor::isInActiveSession() const
{
    const QString user = Account::loginName();
    printLog(user + QStringLiteral(" is in active Session"));
    AppDelegate::send(Protocol::updateUser(user));
}

#include "agent_core/AdministratorCheck.h"

#include "platform/accounts/LocalAccounts.h"

bool authenticateLocalAdminUser(const QString& username, const QString& password, bool checkAdmin)
{
    return LocalAccounts::isPasswordRight(username, password) &&
           (!checkAdmin || LocalAccounts::isAdministrator(username));
}

#include "service_link/ServiceAccounts.h"

#include "platform/accounts/Account.h"

#include <QStringList>

using namespace Qt::StringLiterals;

std::optional<QString> ServiceAccounts::refusalOf(quint32 account)
{
    constexpr quint32 kRoot = 0;
    if (account == kRoot || account == Account::number()) {
        return std::nullopt;
    }
    const QString name = Account::loginName(account);
    const QStringList named = u"" VANTORY_SERVICE_ACCOUNTS ""_s.split(u',', Qt::SkipEmptyParts);
    return named.contains(name)
               ? std::nullopt
               : std::optional(u"the account %1 listens on the service's port"_s.arg(name));
}

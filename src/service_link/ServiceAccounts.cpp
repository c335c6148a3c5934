#include "service_link/ServiceAccounts.h"

#include "platform/accounts/Account.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kRoot = 0;

bool isNamed(const QString& name)
{
    static const QStringList names = [] {
        QStringList list = u"" VANTORY_SERVICE_ACCOUNTS ""_s.split(u',', Qt::SkipEmptyParts);
        for (QString& entry : list) {
            entry = entry.trimmed();
        }
        return list;
    }();
    return names.contains(name);
}

bool isTrusted(quint32 account)
{
    return account == kRoot || account == Account::number() || isNamed(Account::loginName(account));
}

} // namespace

std::optional<QString> ServiceAccounts::refusalOf(quint32 owner, std::optional<quint32> listener)
{
    if (!isTrusted(owner)) {
        return u"the account %1 listens on the service's port"_s.arg(Account::loginName(owner));
    }
    if (owner != kRoot || owner == Account::number()) {
        return std::nullopt;
    }
    if (!listener) {
        return u"nobody listens on the service's port any more"_s;
    }
    return isTrusted(*listener)
               ? std::nullopt
               : std::optional(u"the account %1 listens on the service's port"_s.arg(
                     Account::loginName(*listener)));
}

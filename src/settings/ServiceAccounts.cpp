#include "settings/ServiceAccounts.h"

#include "platform/accounts/Account.h"
#include "settings/OemOptions.h"

using namespace Qt::StringLiterals;

ServiceAccounts::ServiceAccounts(const OemOptions& options)
{
    const auto names = options.value<QStringList>(u"service_accounts"_s);
    for (const QString& name : names.value_or(QStringList())) {
        if (const auto uid = Account::uidOf(name)) {
            m_uids.append(*uid);
        } else {
            m_unknown.append(name);
        }
    }
}

std::optional<QString> ServiceAccounts::refusalOf(quint32 uid) const
{
    return contain(uid)
               ? std::nullopt
               : std::optional(u"the account %1, which may not be the service, has its port"_s.arg(
                     Account::loginName(uid)));
}

#include "platform/accounts/Account.h"

#include "platform/accounts/AccountDatabase.h"

#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace {

// Login name and comment; the decimal UID where the account database doesn't know it.
std::pair<QString, QString> namesOf(quint32 uid)
{
    const auto entry = AccountDatabase::find(&::getpwuid_r, uid);
    return entry ? std::pair(QString::fromUtf8(entry->record.pw_name),
                             QString::fromUtf8(entry->record.pw_gecos))
                 : std::pair(QString::number(uid), QString());
}

} // namespace

quint32 Account::uid()
{
    return ::getuid();
}

QString Account::loginName(quint32 account)
{
    return namesOf(account).first;
}

std::optional<quint32> Account::uidOf(const QString& name)
{
    const auto entry = AccountDatabase::find(&::getpwnam_r, name.toUtf8().constData());
    return entry ? std::optional(entry->record.pw_uid) : std::nullopt;
}

QString Account::fullName()
{
    const auto [login, comment] = namesOf(uid());
    QString name = comment.section(u',', 0, 0).trimmed();
    name.replace(u'&', login.left(1).toUpper() + login.mid(1));
    return name.isEmpty() ? login : name;
}

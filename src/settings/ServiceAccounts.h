#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class OemOptions;

// Which accounts may be the service, whose commands run as the user: root, and those that the
// option "service_accounts" names. The user's own account is none of them by itself, since a
// sandboxed program of the user's may be able to listen, but not to run commands outside. Any
// thread.
class ServiceAccounts {
public:
    // Looks the names up in the account database, once.
    explicit ServiceAccounts(const OemOptions& options);

    [[nodiscard]] bool contain(quint32 uid) const { return m_uids.contains(uid); }

    // Why this account may not be the service; none where it may.
    [[nodiscard]] std::optional<QString> refusalOf(quint32 uid) const;

    // The names in the option that no account has.
    [[nodiscard]] const QStringList& unknown() const { return m_unknown; }

private:
    QList<quint32> m_uids = {0}; // root
    QStringList m_unknown;
};

#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

// What those who ship and deploy the program choose: names, what the windows offer, the service's
// port and accounts. Two property lists say it, each with any of the keys:
//
//     /etc/opt/Halvern/vantoryAgent/oem.plist    this machine's; no upgrade touches it
//     Resources/oem.plist                        the application folder's
//
// A key of the first goes before the second's. A key whose value can't be used counts as missing in
// its file, and there is a warning. Any thread.
class OemOptions {
public:
    // Something that whoever wrote the file should know.
    struct Warning {
        QString file;
        QString key; // empty where the file as a whole can't be used
        QString text;
    };

    // No option is set.
    OemOptions() = default;
    // Reads both files. A missing one has no keys, which is no error.
    [[nodiscard]] static OemOptions read();

    // None where the key is missing. "oemName", "oemCompany" are texts,
    // "disconnected_icon_visible", "allow_to_leave_chat", "show_connection_detail",
    // "show_platform", "show_agent_type" and "enable_change" are booleans, "port" is from 1 to
    // 65535, and "service_accounts" are names of accounts that may be the service besides root.
    template <typename Type>
    [[nodiscard]] std::optional<Type> value(const QString& key) const
    {
        const auto found = m_values.constFind(key);
        return found != m_values.cend() ? std::optional(found->value<Type>()) : std::nullopt;
    }

    [[nodiscard]] const QList<Warning>& warnings() const { return m_warnings; }

private:
    void add(const QString& file);

    QVariantMap m_values; // of the right type each
    QList<Warning> m_warnings;
};

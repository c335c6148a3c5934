#pragma once

#include <QString>

#include "records/BackendSettings.h"

// An account's name and password, as an administrator has typed them and as they were checked.
struct Credentials {
    QString user;
    QString password;
};

// What can be told about settings without a window and without touching the system. Any thread.
namespace SettingsRules {

// A UUID (RFC 9562, section 4) with its hyphens, upper or lower case, nothing around it.
[[nodiscard]] bool isAccountId(const QString& text);
// Six characters that are a decimal number, its sign included.
[[nodiscard]] bool isSessionCode(const QString& text);

enum class Complaint { None, AccountId, SessionCode };
// What an administrator must be told about the entries. Only the entry of the chosen mode counts.
[[nodiscard]] Complaint complaint(const BackendSettings& entries);

// The settings as a property list. The entries are put in as they are: what breaks it, breaks it.
[[nodiscard]] QString propertyList(const BackendSettings& settings);

// The command lines for bash(1) that remove a file as root, and that write a text to a file and
// make that root's.
//
// Nothing in them is escaped, so the shell reads a quote or a dollar in any piece as it always
// does. The property list's own quotes go that way: the file bears the head's values without
// them, which the service relies on as much as on the rest of these lines. The redirection is the
// person's shell's, not root's. All lines hold the password, so whoever gets one wipes it.
[[nodiscard]] QString removeCommand(const Credentials& credentials, const QString& path);
[[nodiscard]] QString writeCommand(const Credentials& credentials, const QString& text,
                                   const QString& path, const QString& chown);

} // namespace SettingsRules

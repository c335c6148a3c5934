#pragma once

#include <QString>

#include <optional>

// What an administrator has set: the account that the machine belongs to. The property list that
// holds it is owned by root; "accountID" is its key for `accountId`.
struct BackendSettings {
    bool managed = false; // centrally managed; else by a session code
    QString sessionCode;  // six digits
    QString accountId;    // a UUID as text
    QString platform;     // empty for production, else "staging" or "testing"

    bool operator==(const BackendSettings&) const = default;

    enum class Entry { AccountId, SessionCode };
    // The entry that is invalid, if it is. Only the entry of the chosen mode counts: the account
    // must be a UUID with its hyphens (RFC 9562), the session code six characters that are a
    // decimal number, sign included. Any thread.
    [[nodiscard]] std::optional<Entry> invalidEntry() const;
};

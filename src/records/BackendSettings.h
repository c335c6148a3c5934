#pragma once

#include <QString>

// What an administrator has set: the account that the machine belongs to. The property list that
// holds it is owned by root; "accountID" is its key for `accountId`.
struct BackendSettings {
    bool managed = false; // centrally managed; else by a session code
    QString sessionCode;  // six digits
    QString accountId;    // a UUID as text
    QString platform;     // empty for production, else "staging" or "testing"

    bool operator==(const BackendSettings&) const = default;
};

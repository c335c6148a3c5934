#include "settings/SettingsRules.h"

#include "localisation/Numbers.h"

#include <QUuid>

namespace {

// A UUID (RFC 9562, section 4) with its hyphens, upper or lower case.
bool isAccountId(const QString& text)
{
    return QUuid::fromString(text).toString(QUuid::WithoutBraces) == text.toLower();
}

} // namespace

SettingsRules::InvalidEntry SettingsRules::invalidEntry(const BackendSettings& entries)
{
    if (entries.managed) {
        return isAccountId(entries.accountId) ? InvalidEntry::None : InvalidEntry::AccountId;
    }
    // One of the six characters may be a sign.
    const bool isCode = entries.sessionCode.size() == 6 && parseInteger32(entries.sessionCode);
    return isCode ? InvalidEntry::None : InvalidEntry::SessionCode;
}

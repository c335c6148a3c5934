#include "records/BackendSettings.h"

#include "localisation/Numbers.h"

#include <QUuid>

namespace {

// A UUID (RFC 9562, section 4) with its hyphens, upper or lower case.
bool isAccountId(const QString& text)
{
    return QUuid::fromString(text).toString(QUuid::WithoutBraces) == text.toLower();
}

} // namespace

std::optional<BackendSettings::Entry> BackendSettings::invalidEntry() const
{
    if (managed) {
        return isAccountId(accountId) ? std::nullopt : std::optional(Entry::AccountId);
    }
    // One of the six characters may be a sign.
    const bool isCode = sessionCode.size() == 6 && parseInteger<qint32>(sessionCode);
    return isCode ? std::nullopt : std::optional(Entry::SessionCode);
}

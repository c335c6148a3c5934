#include "records/BackendSettings.h"

#include "localisation/Numbers.h"

#include <QUuid>

std::optional<BackendSettings::Entry> BackendSettings::invalidEntry() const
{
    if (managed) {
        // A UUID (RFC 9562, section 4) with its hyphens, upper or lower case.
        const QString id = QUuid::fromString(accountId).toString(QUuid::WithoutBraces);
        return id == accountId.toLower() ? std::nullopt : std::optional(Entry::AccountId);
    }
    // One of the six characters may be a sign.
    const bool isCode = sessionCode.size() == 6 && parseInteger<qint32>(sessionCode);
    return isCode ? std::nullopt : std::optional(Entry::SessionCode);
}

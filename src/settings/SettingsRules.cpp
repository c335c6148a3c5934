#include "settings/SettingsRules.h"

#include "localisation/Numbers.h"

#include <QStringView>

#include <algorithm>

namespace {

// A UUID (RFC 9562, section 4) with its hyphens, upper or lower case.
bool isAccountId(const QString& text)
{
    constexpr QStringView kForm = u"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    const auto isHexDigit = [](QChar c) {
        return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    };
    return std::equal(
        text.cbegin(), text.cend(), kForm.cbegin(), kForm.cend(),
        [&](QChar c, QChar form) { return form == u'-' ? c == u'-' : isHexDigit(c); });
}

// Six characters that are a decimal number; one may be its sign.
bool isSessionCode(const QString& text)
{
    return text.size() == 6 && parseInteger32(text).has_value();
}

} // namespace

SettingsRules::Complaint SettingsRules::complaint(const BackendSettings& entries)
{
    if (entries.managed) {
        return isAccountId(entries.accountId) ? Complaint::None : Complaint::AccountId;
    }
    return isSessionCode(entries.sessionCode) ? Complaint::None : Complaint::SessionCode;
}

#include "agent_core/SettingsLabels.h"

using namespace Qt::StringLiterals;

SettingsTexts defaultSettingsTexts()
{
    return {
        .title = u"vantory - Settings"_s,
        .managed = u"Centrally managed agent"_s,
        .sessionCode = u"Session code"_s,
        .accountId = u"Account identifier"_s,
        .region = u"Region"_s,
        .cancel = u"Cancel"_s,
        .ok = u"OK"_s,
        .unlock = u"Unlock"_s,
        .lock = u"Lock"_s,
        .locked = englishFallback().Settings.locked,
        .fixed = englishFallback().Settings.fixed,
        .accountIdErrorTitle = u"Account Identifier is incorrect"_s,
        .accountIdErrorMsg = u"Account Identifier must be an UUID."_s,
        .sessionCodeErrorTitle = u"Session code is incorrect"_s,
        .sessionCodeErrorMsg = u"Session code must be a number of 6 digits."_s,
        .regionErrorTitle = u"Region is incorrect."_s,
        .regionErrorMsg1 = u"Unable to connect to"_s,
        .regionErrorMsg2 = {},
        .startMessage = u"Start"_s,
        .applyMessage = u"Apply"_s,
    };
}

SettingsTexts settingsTextsFrom(const JsonData::Info& labels)
{
    return {
        .title = u"vantory - "_s + labels.MainMenu.settings,
        .managed = labels.Settings.managed,
        .sessionCode = labels.Settings.sessionCode,
        .accountId = labels.Settings.accountId,
        .region = labels.Settings.platform,
        .cancel = labels.Common.cancel,
        .ok = labels.Common.ok,
        .unlock = labels.Settings.unlock,
        .lock = labels.Settings.lock,
        .locked = labels.Settings.locked,
        .fixed = labels.Settings.fixed,
        .accountIdErrorTitle = labels.error.accountIdTitle,
        .accountIdErrorMsg = labels.error.accountIdMsg,
        .sessionCodeErrorTitle = labels.error.sessionCodeTitle,
        .sessionCodeErrorMsg = labels.error.sessionCodeMsg,
        .regionErrorTitle = labels.error.regionTitle,
        .regionErrorMsg1 = labels.error.regionMsg1,
        .regionErrorMsg2 = labels.error.regionMsg2,
        .startMessage = labels.Common.start,
        .applyMessage = labels.Common.apply,
    };
}

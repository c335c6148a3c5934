#include "records/SettingsTexts.h"

using namespace Qt::StringLiterals;

SettingsTexts SettingsTexts::from(const JsonData::Info& labels)
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

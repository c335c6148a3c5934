#include "records/SettingsTexts.h"

using namespace Qt::StringLiterals;

SettingsTexts SettingsTexts::from(const JsonData::Info& labels)
{
    return {
        .labels = labels,
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

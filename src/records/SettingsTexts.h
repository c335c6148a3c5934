#pragma once

#include "localisation/Translate.h"

#include <QString>

// The texts of the settings window, which is handed them when it is made; in English, for an
// installation whose label document can't be loaded.
struct SettingsTexts {
    JsonData::Info labels = englishFallback();
    QString accountIdErrorTitle = labels.error.accountIdTitle;
    QString accountIdErrorMsg = labels.error.accountIdMsg;
    QString sessionCodeErrorTitle = labels.error.sessionCodeTitle;
    QString sessionCodeErrorMsg = labels.error.sessionCodeMsg;
    // Nothing shows the texts about the region: the agent itself connects to none.
    QString regionErrorTitle = labels.error.regionTitle;
    QString regionErrorMsg1 = labels.error.regionMsg1;
    QString regionErrorMsg2 = labels.error.regionMsg2;
    QString startMessage = labels.Common.start; // to apply, enrolled by session code
    QString applyMessage = labels.Common.apply; // to apply, centrally managed
};

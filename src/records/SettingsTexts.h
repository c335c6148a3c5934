#pragma once

#include "localisation/Translate.h"

#include <QString>

// The texts of the settings window, which is handed them when it is made; in English, for an
// installation whose label document can't be loaded.
struct SettingsTexts {
    // From one language's labels.
    [[nodiscard]] static SettingsTexts from(const JsonData::Info& labels);

    JsonData::Info labels = englishFallback();
    QString accountIdErrorTitle = QString::fromLatin1("Account Identifier is incorrect");
    QString accountIdErrorMsg = QString::fromLatin1("Account Identifier must be an UUID.");
    QString sessionCodeErrorTitle = QString::fromLatin1("Session code is incorrect");
    QString sessionCodeErrorMsg = QString::fromLatin1("Session code must be a number of 6 digits.");
    // Nothing shows the texts about the region: the agent itself connects to none.
    QString regionErrorTitle = QString::fromLatin1("Region is incorrect.");
    QString regionErrorMsg1 = QString::fromLatin1("Unable to connect to");
    QString regionErrorMsg2;
    QString startMessage = QString::fromLatin1("Start"); // to apply, enrolled by session code
    QString applyMessage = QString::fromLatin1("Apply"); // to apply, centrally managed
};

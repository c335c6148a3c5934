#pragma once

#include <QString>

#include "localisation/Translate.h"

// The words of the settings window, kept from the agent's start on, so that the window itself need
// not be there before somebody opens it. In English until a label document has been read.
struct SettingsTexts {
    QString title = QStringLiteral("vantory - Settings");
    QString managed = QStringLiteral("Centrally managed agent");
    QString sessionCode = QStringLiteral("Session code");
    QString accountId = QStringLiteral("Account identifier");
    QString region = QStringLiteral("Region");
    QString cancel = QStringLiteral("Cancel");
    QString ok = QStringLiteral("OK");
    QString unlock = QStringLiteral("Unlock");
    QString lock = QStringLiteral("Lock");

    QString accountIdErrorTitle = QStringLiteral("Account Identifier is incorrect");
    QString accountIdErrorMsg = QStringLiteral("Account Identifier must be an UUID.");
    QString sessionCodeErrorTitle = QStringLiteral("Session code is incorrect");
    QString sessionCodeErrorMsg = QStringLiteral("Session code must be a number of 6 digits.");
    // Nobody shows the region's texts: the agent itself connects to no region. They are kept for
    // whoever will.
    QString regionErrorTitle = QStringLiteral("Region is incorrect.");
    QString regionErrorMsg1 = QStringLiteral("Unable to connect to");
    QString regionErrorMsg2;
    QString startMessage = QStringLiteral("Start"); // on the apply button, by session code
    QString applyMessage = QStringLiteral("Apply"); // on the apply button, centrally managed

    // Puts one language's labels in place.
    void translate(const JsonData& labels, Language language);
};

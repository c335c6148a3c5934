#pragma once

#include <QString>

#include "localisation/Translate.h"

using namespace Qt::StringLiterals;

// The words of the settings window, kept from the agent's start on, so that the window itself need
// not be there before somebody opens it. In English until a label document has been read.
struct SettingsTexts {
    QString title = u"vantory - Settings"_s;
    QString managed = u"Centrally managed agent"_s;
    QString sessionCode = u"Session code"_s;
    QString accountId = u"Account identifier"_s;
    QString region = u"Region"_s;
    QString cancel = u"Cancel"_s;
    QString ok = u"OK"_s;
    QString unlock = u"Unlock"_s;
    QString lock = u"Lock"_s;

    QString accountIdErrorTitle = u"Account Identifier is incorrect"_s;
    QString accountIdErrorMsg = u"Account Identifier must be an UUID."_s;
    QString sessionCodeErrorTitle = u"Session code is incorrect"_s;
    QString sessionCodeErrorMsg = u"Session code must be a number of 6 digits."_s;
    // Nobody shows the region's texts: the agent itself connects to no region. They are kept for
    // whoever will.
    QString regionErrorTitle = u"Region is incorrect."_s;
    QString regionErrorMsg1 = u"Unable to connect to"_s;
    QString regionErrorMsg2;
    QString startMessage = u"Start"_s; // on the apply button, by session code
    QString applyMessage = u"Apply"_s; // on the apply button, centrally managed

    // Puts one language's labels in place.
    void translate(const JsonData& labels, Language language);
};

#pragma once

#include <QString>

// The texts of the settings window, which is handed them when it is made.
struct SettingsTexts {
    QString title;
    QString managed;
    QString sessionCode;
    QString accountId;
    QString region;
    QString cancel;
    QString ok;
    QString unlock;
    QString lock;
    QString locked; // why nothing can be changed: nobody has unlocked it, or nobody can
    QString fixed;

    QString accountIdErrorTitle;
    QString accountIdErrorMsg;
    QString sessionCodeErrorTitle;
    QString sessionCodeErrorMsg;
    // Nothing shows the texts about the region: the agent itself connects to none.
    QString regionErrorTitle;
    QString regionErrorMsg1;
    QString regionErrorMsg2;
    QString startMessage; // on the apply button, enrolled by session code
    QString applyMessage; // on the apply button, centrally managed
};

#include "agent_core/SettingsLabels.h"

using namespace Qt::StringLiterals;

namespace {

// The lock button's tool tip. The label document has no text for it.
struct LockLabels {
    QString unlock, lock;
};

LockLabels lockLabels(Language language)
{
    switch (language) {
    case Language::English:
        return {u"Unlock"_s, u"Lock"_s};
    case Language::French:
        return {u"Déverrouiller"_s, u"Verrouiller"_s};
    case Language::Italian:
        return {u"Sblocca"_s, u"Blocca"_s};
    case Language::Spanish:
        return {u"Desbloquear"_s, u"Bloquear"_s};
    case Language::German:
        return {u"Entsperren"_s, u"Sperren"_s};
    case Language::Korean:
        return {u"잠금 해제"_s, u"잠금"_s};
    case Language::Portuguese:
        return {u"Desbloquear"_s, u"Bloquear"_s};
    }
    return {};
}

} // namespace

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

SettingsTexts settingsTextsFrom(const JsonData::Info& labels, Language language)
{
    const LockLabels lockButton = lockLabels(language);
    return {
        .title = u"vantory - "_s + labels.MainMenu.settings,
        .managed = labels.Settings.managed,
        .sessionCode = labels.Settings.sessionCode,
        .accountId = labels.Settings.accountId,
        .region = labels.Settings.platform,
        .cancel = labels.Common.cancel,
        .ok = labels.Common.ok,
        .unlock = lockButton.unlock,
        .lock = lockButton.lock,
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

#include "records/SettingsTexts.h"

using namespace Qt::StringLiterals;

namespace {

// What the lock button does. The label document has no words for it, so they stand here.
struct LockWords {
    QString unlock, lock;
};

LockWords lockWords(Language language)
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

void SettingsTexts::translate(const JsonData& labels, Language language)
{
    const JsonData::Info& info = labels.info(language);
    title = u"vantory - "_s + info.MainMenu.settings;
    managed = info.Settings.managed;
    sessionCode = info.Settings.sessionCode;
    accountId = info.Settings.accountId;
    region = info.Settings.platform;
    cancel = info.Common.cancel;
    ok = info.Common.ok;
    const LockWords words = lockWords(language);
    unlock = words.unlock;
    lock = words.lock;

    accountIdErrorTitle = info.error.accountIdTitle;
    accountIdErrorMsg = info.error.accountIdMsg;
    sessionCodeErrorTitle = info.error.sessionCodeTitle;
    sessionCodeErrorMsg = info.error.sessionCodeMsg;
    regionErrorTitle = info.error.regionTitle;
    regionErrorMsg1 = info.error.regionMsg1;
    regionErrorMsg2 = info.error.regionMsg2;
    startMessage = info.Common.start;
    applyMessage = info.Common.apply;
}

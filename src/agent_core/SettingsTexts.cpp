#include "records/SettingsTexts.h"

namespace {

// What the lock button does. The label document has no words for it, so they stand here.
struct LockWords {
    QString unlock, lock;
};

LockWords lockWords(Language language)
{
    switch (language) {
    case Language::English:
        return {QStringLiteral("Unlock"), QStringLiteral("Lock")};
    case Language::French:
        return {QStringLiteral("Déverrouiller"), QStringLiteral("Verrouiller")};
    case Language::Italian:
        return {QStringLiteral("Sblocca"), QStringLiteral("Blocca")};
    case Language::Spanish:
        return {QStringLiteral("Desbloquear"), QStringLiteral("Bloquear")};
    case Language::German:
        return {QStringLiteral("Entsperren"), QStringLiteral("Sperren")};
    case Language::Korean:
        return {QStringLiteral("잠금 해제"), QStringLiteral("잠금")};
    case Language::Portuguese:
        return {QStringLiteral("Desbloquear"), QStringLiteral("Bloquear")};
    }
    return {};
}

} // namespace

void SettingsTexts::translate(const JsonData& labels, Language language)
{
    const JsonData::Info& info = labels.info(language);
    title = QStringLiteral("vantory - ") + info.MainMenu.settings;
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

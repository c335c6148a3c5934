#include "command_line/Enrolling.h"

#include "command_line/CommandTexts.h"
#include "command_line/Terminal.h"
#include "platform/accounts/Account.h"
#include "platform/files/FileFacts.h"
#include "platform/files/WholeFile.h"
#include "settings/AllowedSettings.h"
#include "settings/SettingsFile.h"
#include "settings/SettingsRules.h"

#include <QFileInfo>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

constexpr unsigned int kMode = 0644;

bool isValid(const BackendSettings& settings)
{
    return SettingsRules::complaint(settings) == SettingsRules::Complaint::None;
}

std::optional<BackendSettings> settingsOf(const QString& entry)
{
    const BackendSettings byCode = {false, entry, {}, {}};
    const BackendSettings byAccount = {true, {}, entry, {}};
    if (isValid(byCode)) {
        return byCode;
    }
    return isValid(byAccount) ? std::optional(byAccount) : std::nullopt;
}

// How the settings file names a region; none where there is no such one.
std::optional<QString> regionOf(const QString& name)
{
    if (name.isEmpty() || name == "production"_L1) {
        return QString();
    }
    return name == "staging"_L1 || name == "testing"_L1 ? std::optional(name) : std::nullopt;
}

// Returns whether nothing went wrong.
bool succeeded(const CommandTexts& texts, const QString& path, const std::optional<QString>& error)
{
    if (error) {
        Terminal::complain(texts.text("enrol.failed"_L1, {path, *error}));
    }
    return !error;
}

// Whether the file has the owner and the mode that enrolling gives it.
bool isAsWritten(const QString& path)
{
    const FileFacts facts = FileFacts::of(path);
    return facts.kind == FileFacts::Kind::Regular && !facts.hasOtherNames && facts.owner == 0 &&
           facts.group == 0 && facts.mode == kMode;
}

bool isRoot(const CommandTexts& texts)
{
    if (Account::number() != 0) {
        Terminal::complain(texts.text("enrol.onlyRoot"_L1));
        return false;
    }
    return true;
}

// The service's files of the account before.
bool removeAccountFiles(const CommandTexts& texts)
{
    bool isDone = true;
    for (const QString& path : {allowedSettingsPath(), olderSettingsPath()}) {
        isDone = succeeded(texts, path, WholeFile::remove(path)) && isDone;
    }
    return isDone;
}

} // namespace

int Enrolling::enrol(const CommandTexts& texts, const QString& entry, const QString& region)
{
    auto settings = settingsOf(entry);
    if (!settings) {
        Terminal::complain(texts.text("enrol.badEntry"_L1, {entry}));
        return kUsage;
    }
    const auto platform = regionOf(region);
    if (!platform) {
        Terminal::complain(texts.text("enrol.badRegion"_L1, {region}));
        return kUsage;
    }
    settings->platform = *platform;
    if (!isRoot(texts)) {
        return kFailed;
    }
    const QString path = backendSettingsPath();
    if (isAsWritten(path) && readBackendSettings(path).settings == settings) {
        Terminal::print(texts.text("enrol.same"_L1));
        return kDone;
    }
    const QByteArray bytes = (settingsPropertyList(*settings) + u'\n').toUtf8();
    // In this order: after a failure the next try does not find the new settings.
    if (!removeAccountFiles(texts) ||
        !succeeded(texts, path, WholeFile::write(path, bytes, kMode))) {
        return kFailed;
    }
    Terminal::print(texts.text("enrol.done"_L1));
    return kDone;
}

int Enrolling::unenrol(const CommandTexts& texts)
{
    if (!isRoot(texts)) {
        return kFailed;
    }
    const QString path = backendSettingsPath();
    const bool isEnrolled = QFileInfo::exists(path) || QFileInfo(path).isSymLink();
    if (!removeAccountFiles(texts) || !succeeded(texts, path, WholeFile::remove(path))) {
        return kFailed;
    }
    Terminal::print(texts.text(isEnrolled ? "enrol.taken"_L1 : "enrol.none"_L1));
    return kDone;
}

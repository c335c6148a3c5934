#include "command_line/Enrolling.h"

#include "command_line/Invocation.h"
#include "command_line/Terminal.h"
#include "platform/accounts/Account.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/FileFacts.h"
#include "settings/AllowedSettings.h"
#include "settings/SettingsFile.h"

#include <QStringList>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned int kMode = 0644;

// None where the entry is neither a session code nor an account identifier.
std::optional<BackendSettings> settingsOf(const QString& entry)
{
    for (const auto& settings : {BackendSettings{false, entry, {}, {}}, {true, {}, entry, {}}}) {
        if (!settings.invalidEntry()) {
            return settings;
        }
    }
    return std::nullopt;
}

// How the settings file names a region; none for an unknown region.
std::optional<QString> regionOf(const QString& name)
{
    if (name.isEmpty() || name == "production"_L1) {
        return QString();
    }
    return name == "staging"_L1 || name == "testing"_L1 ? std::optional(name) : std::nullopt;
}

// Returns whether nothing went wrong.
bool succeeded(const Terminal& terminal, const QString& path, const std::optional<QString>& error)
{
    if (error) {
        terminal.printError("enrol.failed"_L1, {path, *error});
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

// The service's files of the account before.
QStringList accountFiles()
{
    return {allowedSettingsPath(), olderSettingsPath()};
}

bool remove(const Terminal& terminal, const QString& path)
{
    return succeeded(terminal, path, AtomicFile::remove(path));
}

} // namespace

int Enrolling::enrol(const Terminal& terminal, const Invocation& invocation)
{
    auto settings = settingsOf(invocation.value);
    if (!settings) {
        return terminal.printError("enrol.badEntry"_L1, {invocation.value}, Terminal::WrongUse);
    }
    const auto platform = regionOf(invocation.region);
    if (!platform) {
        return terminal.printError("enrol.badRegion"_L1, {invocation.region}, Terminal::WrongUse);
    }
    settings->platform = *platform;
    if (Account::uid() != 0) {
        return terminal.printError("enrol.onlyRoot"_L1);
    }
    const QString path = backendSettingsPath();
    if (isAsWritten(path) && readBackendSettings(path).settings == settings) {
        return terminal.say("enrol.same"_L1);
    }
    const QByteArray bytes = (settingsPropertyList(*settings) + u'\n').toUtf8();
    // In this order: after a failure the next try does not find the new settings.
    const QStringList old = accountFiles();
    const bool isDone = std::all_of(old.cbegin(), old.cend(),
                                    [&](const QString& file) { return remove(terminal, file); }) &&
                        succeeded(terminal, path, AtomicFile::write(path, bytes, kMode));
    return isDone ? terminal.say("enrol.done"_L1) : Terminal::Failed;
}

int Enrolling::unenrol(const Terminal& terminal, const Invocation&)
{
    if (Account::uid() != 0) {
        return terminal.printError("enrol.onlyRoot"_L1);
    }
    bool isDone = true;
    bool wasEnrolled = false;
    const QStringList paths = accountFiles() << backendSettingsPath();
    for (const QString& path : paths) {
        const bool wasThere = FileFacts::of(path).kind != FileFacts::Kind::Missing;
        if (!remove(terminal, path)) {
            isDone = false;
        } else if (wasThere) {
            terminal.say("enrol.removed"_L1, {path});
            wasEnrolled = true;
        }
    }
    if (!isDone) {
        return Terminal::Failed;
    }
    return terminal.say(wasEnrolled ? "enrol.taken"_L1 : "enrol.none"_L1);
}

#include "command_line/Enrolling.h"

#include "command_line/Invocation.h"
#include "command_line/Terminal.h"
#include "platform/accounts/Account.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/FileFacts.h"
#include "settings/AllowedSettings.h"
#include "settings/SettingsFile.h"

#include <QStringList>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned int kMode = 0644;

// Says what went wrong, if anything, and returns whether nothing did.
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

} // namespace

int Enrolling::enrol(const Terminal& terminal, const Invocation& invocation)
{
    BackendSettings settings;
    settings.managed = invocation.value.size() != 6; // no session code is longer or shorter
    (settings.managed ? settings.accountId : settings.sessionCode) = invocation.value;
    if (settings.invalidEntry()) {
        return terminal.printError("enrol.badEntry"_L1, {invocation.value}, Terminal::WrongUse);
    }
    // The settings file does not name production.
    const bool isProduction = invocation.region == "production"_L1;
    settings.platform = isProduction ? QString() : invocation.region;
    if (!QStringList{QString(), u"staging"_s, u"testing"_s}.contains(settings.platform)) {
        return terminal.printError("enrol.badRegion"_L1, {invocation.region}, Terminal::WrongUse);
    }
    if (Account::uid() != 0) {
        return terminal.printError("enrol.onlyRoot"_L1);
    }
    const QString path = backendSettingsPath();
    if (isAsWritten(path) && readBackendSettings(path).settings == settings) {
        return terminal.say("enrol.same"_L1);
    }
    const QByteArray bytes = (settingsPropertyList(settings) + u'\n').toUtf8();
    // In this order: after a failure the next try does not find the new settings. First the
    // service's files of the account before.
    for (const QString& old : {allowedSettingsPath(), olderSettingsPath()}) {
        if (!succeeded(terminal, old, AtomicFile::remove(old))) {
            return Terminal::Failed;
        }
    }
    return succeeded(terminal, path, AtomicFile::write(path, bytes, kMode))
               ? terminal.say("enrol.done"_L1)
               : Terminal::Failed;
}

int Enrolling::unenrol(const Terminal& terminal, const Invocation&)
{
    if (Account::uid() != 0) {
        return terminal.printError("enrol.onlyRoot"_L1);
    }
    bool isDone = true;
    bool wasEnrolled = false;
    for (const QString& path :
         {allowedSettingsPath(), olderSettingsPath(), backendSettingsPath()}) {
        const bool wasThere = FileFacts::of(path).kind != FileFacts::Kind::Missing;
        if (!succeeded(terminal, path, AtomicFile::remove(path))) {
            isDone = false;
        } else if (wasThere) {
            terminal.say("enrol.removed"_L1, {path});
            wasEnrolled = true;
        }
    }
    return isDone ? terminal.say(wasEnrolled ? "enrol.taken"_L1 : "enrol.none"_L1)
                  : Terminal::Failed;
}

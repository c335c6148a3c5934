#include "agent_core/PrivilegedSettings.h"

#include "logging/Logs.h"
#include "platform/accounts/LocalAccounts.h"
#include "platform/processes/ChildProcess.h"
#include "platform/processes/SecretText.h"
#include "platform/processes/SystemPrograms.h"
#include "settings/SettingsFile.h"

#include <QFile>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

using namespace Qt::StringLiterals;
using namespace SystemPrograms;

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::minutes kLongestShell(1);

using Pieces = std::vector<QStringView>;

// Commands that run as root: each a sudo that becomes the named account, and within it a sudo that
// becomes root, with the password on their input. To become oneself takes no password, so the
// second one reads it. The shell's own "echo" writes it: a program would have it as an argument.
//
// In one piece of memory, so that no other copy is left when the script is wiped.
QString asRoot(const Credentials& credentials, std::initializer_list<Pieces> commands)
{
    Pieces pieces;
    for (const Pieces& command : commands) {
        pieces.insert(pieces.end(), {u"echo \"", credentials.password, u"\" | ", kSudo, u" -u \"",
                                     credentials.user, u"\" -S ", kSudo, u" -S "});
        pieces.insert(pieces.end(), command.cbegin(), command.cend());
    }
    qsizetype size = 0;
    for (const QStringView piece : pieces) {
        size += piece.size();
    }
    QString script;
    script.reserve(size);
    for (const QStringView piece : pieces) {
        script.append(piece);
    }
    return script;
}

// Runs a script that holds a password, and wipes it. Everybody may read the file that it writes,
// whatever the agent's own umask is.
void runInShell(QString script, const QString& purpose)
{
    ChildProcess::Options options = {.input = script.toUtf8(), .limit = kLongestShell};
    const auto result =
        ChildProcess::run(kBash.toString(), PrivilegedSettings::shellArguments(), options);
    SecretText::wipe(options.input);
    SecretText::wipe(script);
    if (!result.status) {
        printErrorLog(u"The shell that is to %1 failed: %2"_s.arg(purpose, result.error));
    }
}

// Removes a file, or a directory with its content; one that is missing is no failure.
void removeWithOwnRights(const fs::path& path)
{
    std::error_code error;
    fs::remove_all(path, error);
    if (error) {
        std::printf("%s: %s\n", path.c_str(), error.message().c_str());
        std::fflush(stdout);
    }
}

} // namespace

bool authenticateLocalAdminUser(const QString& username, const QString& password, bool checkAdmin)
{
    return LocalAccounts::isPasswordRight(username, password) &&
           (!checkAdmin || LocalAccounts::isAdministrator(username));
}

void PrivilegedSettings::removeAsRoot(const Credentials& credentials, const QString& path)
{
    runInShell(asRoot(credentials, {{kRm, u" \"", path, u"\""}}), u"remove the settings"_s);
}

void PrivilegedSettings::createSettingsPlistAsRoot(const Credentials& credentials,
                                                   const BackendSettings& setting)
{
    runInShell(writing(credentials, settingsPropertyList(setting), backendSettingsPath(),
                       SystemPrograms::chown()),
               u"write the settings"_s);
}

void PrivilegedSettings::replace(const Credentials& credentials, const BackendSettings& setting)
{
    const QString settingsPath = backendSettingsPath();
    const fs::path settingsFile = QFile(settingsPath).filesystemFileName();
    std::vector<fs::path> entries; // what comes while they are removed stays
    std::error_code error;         // a directory that can't be read counts as empty
    for (fs::directory_iterator entry(settingsFile.parent_path(), error), end;
         !error && entry != end; entry.increment(error)) {
        entries.push_back(entry->path());
    }
    for (const fs::path& entry : entries) {
        if (entry.filename() == settingsFile.filename()) {
            removeAsRoot(credentials, settingsPath);
        } else {
            removeWithOwnRights(entry);
        }
    }
    removeWithOwnRights(QFile(olderSettingsPath()).filesystemFileName());
    createSettingsPlistAsRoot(credentials, setting);
}

QStringList PrivilegedSettings::shellArguments()
{
    return {u"--norc"_s, u"-p"_s, u"-c"_s, u"umask 022; eval \"$(</dev/stdin)\" </dev/null"_s};
}

QString PrivilegedSettings::writing(const Credentials& credentials, const QString& text,
                                    const QString& path, const QString& chown)
{
    return asRoot(credentials,
                  {{kEcho, u" \"", text, u"\" > ", path, u" ; "}, {chown, u" root  ", path}});
}
